// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/exception.hpp>
#include <sdbusplus/message/signature.hpp>
#include <sdbusplus/sdbus.hpp>
#include <systemd/sd-bus.h>

#include <string>
#include <utility>
#include <variant>

/*
 * readValue() reads the next value of a message. After a failure the message is
 * at the position of the failed step, and the value is unchanged.
 */
namespace sdbusplus
{
inline namespace fenmarch_subset
{
namespace message
{

/** @throws exception::SdBusError when the result is negative */
inline int checked(int result, const char* step)
{
    if (result < 0)
    {
        throw exception::SdBusError(-result, step);
    }
    return result;
}

inline void readValue(SdBusInterface& interface, sd_bus_message* message,
                      std::string& value)
{
    const char* text = nullptr;
    checked(interface.sd_bus_message_read_basic(message, 's', &text),
            "sd_bus_message_read_basic string");
    value = text;
}

/** Reads a variant that holds this alternative; false if it holds another. */
template <typename Alternative, typename Variant>
bool readAlternative(SdBusInterface& interface, sd_bus_message* message,
                     Variant& value)
{
    constexpr const char* signature = Signature<Alternative>::text;
    if (checked(interface.sd_bus_message_verify_type(message, 'v', signature),
                "sd_bus_message_verify_type variant") == 0)
    {
        return false;
    }
    checked(interface.sd_bus_message_enter_container(message, 'v', signature),
            "sd_bus_message_enter_container variant");
    Alternative read{};
    readValue(interface, message, read);
    checked(interface.sd_bus_message_exit_container(message),
            "sd_bus_message_exit_container variant");
    value = std::move(read);
    return true;
}

/**
 * Reads a variant as the first alternative that fits. If no alternative fits,
 * the variant is skipped, and the value becomes the default of the first one.
 */
template <typename... Alternatives>
void readValue(SdBusInterface& interface, sd_bus_message* message,
               std::variant<Alternatives...>& value)
{
    if (!(readAlternative<Alternatives>(interface, message, value) || ...))
    {
        checked(interface.sd_bus_message_skip(message, "v"),
                "sd_bus_message_skip variant");
        value = std::variant<Alternatives...>();
    }
}

} // namespace message
} // namespace fenmarch_subset
} // namespace sdbusplus
