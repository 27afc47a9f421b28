// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/exception.hpp>
#include <sdbusplus/message.hpp>
#include <sdbusplus/sdbus.hpp>
#include <systemd/sd-bus.h>

#include <memory>
#include <string>
#include <type_traits>

namespace sdbusplus
{
inline namespace fenmarch_subset
{

/**
 * A connection to the bus: holds one reference, which its destructor releases.
 *
 * May hold no connection at all: then new_method_call() throws. A connection
 * must have its unique name, so a constructor waits until the bus has assigned
 * it. When the connection is closed, breaks meanwhile or was opened before a
 * fork, the constructor releases the reference and throws std::logic_error.
 */
class bus_t
{
  public:
    /** The package's bus_t has no such member. */
    struct FenmarchSubset;

    /** Takes over the caller's reference. */
    bus_t(sd_bus* bus, std::false_type) : bus_t(bus, Release{&sdbus_impl})
    {
    }

    /** Takes a reference of its own and calls through this interface, which
     *  must outlive the object. */
    bus_t(sd_bus* bus, SdBusInterface* interface) :
        bus_t(interface->sd_bus_ref(bus), Release{interface})
    {
    }

    /** With true the destructor sends what is queued and closes the connection
     *  first: every other holder finds it closed then. */
    void set_should_close(bool shouldClose)
    {
        handle.get_deleter().shouldClose = shouldClose;
    }

    /**
     * A message for the method of that name; sends nothing.
     *
     * @throws exception::SdBusError "sd_bus_message_new_method_call: ..." when
     *         a name is not valid or there is no connection
     */
    message_t new_method_call(const char* service, const char* path,
                              const char* interface, const char* member)
    {
        sd_bus_message* message = nullptr;
        const int result = calls().sd_bus_message_new_method_call(
            handle.get(), &message, service, path, interface, member);
        if (result < 0)
        {
            throw exception::SdBusError(-result,
                                        "sd_bus_message_new_method_call");
        }
        return {message, &calls(), std::false_type()};
    }

    /**
     * Sends the message and blocks until its reply arrives, at most for the
     * default time-out of libsystemd.
     *
     * @throws exception::SdBusError "sd_bus_call: ..." with the error that the
     *         peer, the bus or libsystemd reports
     */
    message_t call(message_t& message)
    {
        sd_bus_error error{};
        sd_bus_message* reply = nullptr;
        if (calls().sd_bus_call(handle.get(), message.handle.get(), 0, &error,
                                &reply) < 0)
        {
            throw exception::SdBusError(&error, "sd_bus_call");
        }
        return {reply, &calls(), std::false_type()};
    }

  private:
    struct Release
    {
        SdBusInterface* interface;
        bool shouldClose = false;

        void operator()(sd_bus* bus) const
        {
            if (shouldClose)
            {
                interface->sd_bus_flush_close_unref(bus);
            }
            else
            {
                interface->sd_bus_unref(bus);
            }
        }
    };

    bus_t(sd_bus* bus, Release release) : handle(bus, release)
    {
        if (bus != nullptr)
        {
            const char* name = nullptr;
            calls().sd_bus_get_unique_name(bus, &name);
            // As in the package, which stores the name: a null pointer throws.
            static_cast<void>(std::string(name));
        }
    }

    SdBusInterface& calls() const
    {
        return *handle.get_deleter().interface;
    }

    std::unique_ptr<sd_bus, Release> handle;
};

} // namespace fenmarch_subset
} // namespace sdbusplus
