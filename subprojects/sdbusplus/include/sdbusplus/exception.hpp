// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/sdbus.hpp>
#include <systemd/sd-bus.h>

#include <cerrno>
#include <exception>
#include <string>
#include <utility>

// A program recognises what a library built with hidden visibility throws.
#pragma GCC visibility push(default)

namespace sdbusplus
{
inline namespace fenmarch_subset
{
namespace exception
{

/** What every exception of the bus has besides what(). */
class exception : public std::exception
{
  public:
    /** The name of the D-Bus error. */
    virtual const char* name() const noexcept = 0;

    /** The text that goes with the name. */
    virtual const char* description() const noexcept = 0;

    /** The positive error number that corresponds to the name. */
    virtual int get_errno() const noexcept = 0;
};

/**
 * A failed call of libsystemd. Its what() is "prefix: name: message", where the
 * prefix names the failed step. It can be moved, not copied. A moved-from
 * object can only be destroyed.
 */
class SdBusError final : public exception
{
  public:
    /** The error that libsystemd makes of a positive error number. */
    SdBusError(int number, const char* prefix,
               SdBusInterface* interface = &sdbus_impl) :
        calls(interface)
    {
        interface->sd_bus_error_set_errno(&error, number);
        composeText(prefix);
    }

    /** Takes ownership of the error and leaves *source empty. */
    SdBusError(sd_bus_error* source, const char* prefix,
               SdBusInterface* interface = &sdbus_impl) :
        calls(interface), error(std::exchange(*source, sd_bus_error{}))
    {
        composeText(prefix);
    }

    SdBusError(SdBusError&& other) noexcept :
        calls(other.calls),
        error(std::exchange(other.error, sd_bus_error{})),
        text(std::move(other.text))
    {
    }

    SdBusError& operator=(SdBusError&& other) noexcept
    {
        std::swap(calls, other.calls);
        std::swap(error, other.error);
        std::swap(text, other.text);
        return *this;
    }

    ~SdBusError() override
    {
        calls->sd_bus_error_free(&error);
    }

    const char* what() const noexcept override
    {
        return text.c_str();
    }

    const char* name() const noexcept override
    {
        return error.name;
    }

    const char* description() const noexcept override
    {
        return error.message;
    }

    int get_errno() const noexcept override
    {
        return calls->sd_bus_error_get_errno(&error);
    }

  private:
    void composeText(const char* prefix)
    {
        text = prefix;
        for (const char* part : {error.name, error.message})
        {
            // A peer may send an error without a text.
            if (part != nullptr)
            {
                text.append(": ").append(part);
            }
        }
    }

    SdBusInterface* calls;
    sd_bus_error error{};
    std::string text;
};

/** A text that names no enumerator of the enumeration it is converted to. */
class InvalidEnumString final : public exception
{
  public:
    const char* what() const noexcept override
    {
        return "xyz.openbmc_project.sdbusplus.Error.InvalidEnumString: "
               "An enumeration mapping was attempted for which no valid "
               "enumeration value exists.";
    }

    const char* name() const noexcept override
    {
        return "xyz.openbmc_project.sdbusplus.Error.InvalidEnumString";
    }

    const char* description() const noexcept override
    {
        return "An enumeration mapping was attempted for which no valid "
               "enumeration value exists.";
    }

    int get_errno() const noexcept override
    {
        return EINVAL;
    }
};

} // namespace exception
} // namespace fenmarch_subset
} // namespace sdbusplus

#pragma GCC visibility pop
