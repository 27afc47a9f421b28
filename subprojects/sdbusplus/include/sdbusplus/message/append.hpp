// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/message/signature.hpp>
#include <sdbusplus/sdbus.hpp>
#include <systemd/sd-bus.h>

#include <concepts>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

/*
 * appendValue() adds one value at the end of the message. The results of
 * libsystemd are not checked: an incomplete message is refused when it is sent.
 */
namespace sdbusplus
{
inline namespace fenmarch_subset
{
namespace message
{

inline void appendValue(SdBusInterface& interface, sd_bus_message* message,
                        const char* value)
{
    interface.sd_bus_message_append_basic(message, 's', value);
}

inline void appendValue(SdBusInterface& interface, sd_bus_message* message,
                        const std::string& value)
{
    appendValue(interface, message, value.c_str());
}

// Of exactly this type: a pointer or a number must not pass as a bool.
inline void appendValue(SdBusInterface& interface, sd_bus_message* message,
                        std::same_as<bool> auto value)
{
    const int widened = value;
    interface.sd_bus_message_append_basic(message, 'b', &widened);
}

inline void appendValue(SdBusInterface& interface, sd_bus_message* message,
                        std::same_as<uint8_t> auto value)
{
    interface.sd_bus_message_append_basic(message, 'y', &value);
}

inline void appendValue(SdBusInterface& interface, sd_bus_message* message,
                        const std::vector<std::string>& values)
{
    interface.sd_bus_message_open_container(message, 'a', "s");
    for (const std::string& value : values)
    {
        appendValue(interface, message, value);
    }
    interface.sd_bus_message_close_container(message);
}

template <typename... Alternatives>
void appendValue(SdBusInterface& interface, sd_bus_message* message,
                 const std::variant<Alternatives...>& value)
{
    std::visit(
        [&]<typename Active>(const Active& active) {
            interface.sd_bus_message_open_container(message, 'v',
                                                    Signature<Active>::text);
            appendValue(interface, message, active);
            interface.sd_bus_message_close_container(message);
        },
        value);
}

} // namespace message
} // namespace fenmarch_subset
} // namespace sdbusplus
