// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bus_pointers.hpp"

#include <systemd/sd-bus.h>

#include <chrono>
#include <string>

namespace support
{

/** A connection of a test's own that calls methods. */
class Caller
{
  public:
    /** Connects to the system bus. @throws std::system_error */
    Caller();

    /** A reply: its body as text, or `name: text` of its error. Errors that
     *  do not come from the bus are org.freedesktop.DBus.Error.* as well. */
    std::string
    call(const std::string& destination, const std::string& path,
         const std::string& interface, const std::string& member,
         const std::string& signature = "", const std::string& arguments = "",
         std::chrono::microseconds deadline = std::chrono::seconds(10));

    sd_bus* get() const
    {
        return bus.get();
    }

  private:
    BusPointer bus;
};

/** A method call that is not sent yet; arguments as text. */
MessagePointer makeCall(sd_bus* bus, const std::string& destination,
                        const std::string& path, const std::string& interface,
                        const std::string& member, const std::string& signature,
                        const std::string& arguments);

} // namespace support
