// SPDX-License-Identifier: Apache-2.0
#include "fake_objects.hpp"

#include "bus_pointers.hpp"
#include "checked.hpp"
#include "message_text.hpp"

#include <algorithm>
#include <cstddef>

namespace support
{

namespace
{

constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";

std::string textOrEmpty(const char* text)
{
    return text == nullptr ? "" : text;
}

RecordedCall record(sd_bus_message* call)
{
    return {
        .destination = textOrEmpty(sd_bus_message_get_destination(call)),
        .path = textOrEmpty(sd_bus_message_get_path(call)),
        .interface = textOrEmpty(sd_bus_message_get_interface(call)),
        .member = textOrEmpty(sd_bus_message_get_member(call)),
        .signature = textOrEmpty(sd_bus_message_get_signature(call, 1)),
        .arguments = bodyText(call),
        .replyExpected = sd_bus_message_get_expect_reply(call) > 0,
        .autoStart = sd_bus_message_get_auto_start(call) > 0,
    };
}

bool isPropertiesCall(sd_bus_message* call, const char* member,
                      const char* signature)
{
    return sd_bus_message_is_method_call(call, propertiesInterface, member) >
               0 &&
           sd_bus_message_has_signature(call, signature) > 0;
}

bool isGet(sd_bus_message* call)
{
    return isPropertiesCall(call, "Get", "ss");
}

bool isSet(sd_bus_message* call)
{
    return isPropertiesCall(call, "Set", "ssv");
}

/** The property of a Get or Set; the value is next to read. */
PropertyKey readKey(sd_bus_message* call)
{
    checkedSystemd(sd_bus_message_rewind(call, 1), "sd_bus_message_rewind");
    const char* interface = nullptr;
    const char* property = nullptr;
    checkedSystemd(sd_bus_message_read(call, "ss", &interface, &property),
                   "sd_bus_message_read");
    return {sd_bus_message_get_path(call), property};
}

/** Reads on after readKey(). */
PropertyValue readValue(sd_bus_message* call)
{
    const std::string variant = nextValueText(call);
    const std::size_t space = variant.find(' ');
    return {variant.substr(0, space), variant.substr(space + 1)};
}

/** The name of this call's member in a rule. */
std::string addressedMember(sd_bus_message* call)
{
    return isGet(call) || isSet(call)
               ? readKey(call).second
               : textOrEmpty(sd_bus_message_get_member(call));
}

} // namespace

void replyBody(sd_bus_message* call, const std::string& signature,
               const std::string& text)
{
    sd_bus_message* message = nullptr;
    checkedSystemd(sd_bus_message_new_method_return(call, &message),
                   "sd_bus_message_new_method_return");
    const MessagePointer reply(message);
    appendText(message, signature, text);
    checkedSystemd(sd_bus_message_send(message), "sd_bus_message_send");
}

void replyError(sd_bus_message* call, const std::string& name,
                const std::string& text)
{
    const sd_bus_error error{name.c_str(), text.c_str(), 0};
    checkedSystemd(sd_bus_reply_method_error(call, &error),
                   "sd_bus_reply_method_error");
}

void FakeObjects::addRule(std::string path, std::string member, Answer answer)
{
    rules.push_back({std::move(path), std::move(member), std::move(answer)});
}

void FakeObjects::setProperty(PropertyKey key, PropertyValue value)
{
    properties.insert_or_assign(std::move(key), std::move(value));
}

std::optional<PropertyValue> FakeObjects::property(const PropertyKey& key) const
{
    const auto found = properties.find(key);
    return found == properties.end() ? std::nullopt
                                     : std::optional(found->second);
}

std::vector<RecordedCall> FakeObjects::takeCalls()
{
    return std::exchange(calls, {});
}

Answer FakeObjects::receive(sd_bus_message* call)
{
    calls.push_back(record(call));
    const std::string member = addressedMember(call);
    const auto latest =
        std::find_if(rules.rbegin(), rules.rend(), [&](const Rule& rule) {
            return rule.path == calls.back().path &&
                   (rule.member.empty() || rule.member == member);
        });
    return latest == rules.rend() ? Answer::accept() : latest->answer;
}

void FakeObjects::accept(sd_bus_message* call)
{
    if (isGet(call))
    {
        const PropertyKey key = readKey(call);
        if (const auto value = property(key))
        {
            return replyBody(call, "v", value->signature + ' ' + value->text);
        }
        return replyError(call, SD_BUS_ERROR_UNKNOWN_PROPERTY,
                          "Unknown property " + key.second);
    }
    if (isSet(call))
    {
        const PropertyKey key = readKey(call);
        setProperty(key, readValue(call));
    }
    replyBody(call, "", "");
}

void FakeObjects::give(sd_bus_message* call, const PropertyValue& value)
{
    if (isGet(call))
    {
        return replyBody(call, "v", value.signature + ' ' + value.text);
    }
    accept(call);
}

} // namespace support
