// SPDX-License-Identifier: Apache-2.0
#include "caller.hpp"

#include "checked.hpp"
#include "message_text.hpp"

#include <cstdint>

namespace support
{

namespace
{

BusPointer openSystemBus()
{
    sd_bus* bus = nullptr;
    checkedSystemd(sd_bus_open_system(&bus), "sd_bus_open_system");
    return BusPointer(bus);
}

} // namespace

Caller::Caller() : bus(openSystemBus())
{
}

std::string Caller::call(const std::string& destination,
                         const std::string& path, const std::string& interface,
                         const std::string& member,
                         const std::string& signature,
                         const std::string& arguments,
                         std::chrono::microseconds deadline)
{
    const MessagePointer message = makeCall(
        bus.get(), destination, path, interface, member, signature, arguments);
    sd_bus_error error{};
    sd_bus_message* reply = nullptr;
    const int result = sd_bus_call(bus.get(), message.get(),
                                   static_cast<std::uint64_t>(deadline.count()),
                                   &error, &reply);
    if (result < 0)
    {
        std::string text = std::string(error.name) + ": " + error.message;
        sd_bus_error_free(&error);
        return text;
    }
    return bodyText(MessagePointer(reply).get());
}

MessagePointer makeCall(sd_bus* bus, const std::string& destination,
                        const std::string& path, const std::string& interface,
                        const std::string& member, const std::string& signature,
                        const std::string& arguments)
{
    sd_bus_message* message = nullptr;
    checkedSystemd(sd_bus_message_new_method_call(
                       bus, &message, destination.c_str(), path.c_str(),
                       interface.c_str(), member.c_str()),
                   "sd_bus_message_new_method_call");
    MessagePointer call(message);
    appendText(message, signature, arguments);
    return call;
}

} // namespace support
