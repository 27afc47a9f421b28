// SPDX-License-Identifier: Apache-2.0

/** What C++ needs to serve an object on the bus with only libsystemd. */
#pragma once

#include <systemd/sd-bus.h>

#include <exception>
#include <functional>
#include <memory>
#include <system_error>

template <typename Resource, auto release>
struct Release
{
    void operator()(Resource* resource) const
    {
        release(resource);
    }
};

/** A resource of libsystemd, which this function releases. */
template <typename Resource, auto release>
using Owned = std::unique_ptr<Resource, Release<Resource, release>>;

/** @throws std::system_error for a result of libsystemd that is an error */
inline int checked(int result)
{
    if (result < 0)
    {
        throw std::system_error(-result, std::generic_category(), "libsystemd");
    }
    return result;
}

/** The error of a call that fails. */
inline constexpr auto failed = "com.example.FirmwareUpdate.Failed";

/** A method of an object, for its vtable. It turns exceptions into errors,
 *  because libsystemd does not pass exceptions on. */
template <typename Object, auto serve>
int method(sd_bus_message* call, void* object, sd_bus_error* error) noexcept
{
    try
    {
        return std::invoke(serve, *static_cast<Object*>(object), call);
    }
    catch (const std::exception& problem)
    {
        return sd_bus_error_set(error, failed, problem.what());
    }
}

/** A property that is a text; exceptions become errors as well. */
template <typename Object, auto read>
int property(sd_bus*, const char*, const char*, const char*,
             sd_bus_message* reply, void* object, sd_bus_error* error) noexcept
{
    try
    {
        return sd_bus_message_append(
            reply, "s",
            std::invoke(read, *static_cast<Object*>(object)).c_str());
    }
    catch (const std::exception& problem)
    {
        return sd_bus_error_set(error, failed, problem.what());
    }
}
