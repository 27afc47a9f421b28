// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "fake_services.hpp"

#include <systemd/sd-bus.h>

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace support
{

/** A value with its type, the text in the form of message_text.hpp. */
struct PropertyValue
{
    std::string signature;
    std::string text;
};

/** An object path and a property of it. The interface does not matter: all
 *  interfaces of an object share its properties. */
using PropertyKey = std::pair<std::string, std::string>;

/**
 * The objects of the fake services: their properties, the rules for their
 * answers, and the calls that reached them. Replies are sent on the connection
 * of the call. Not thread-safe.
 */
class FakeObjects
{
  public:
    void addRule(std::string path, std::string member, Answer answer);
    void setProperty(PropertyKey key, PropertyValue value);
    std::optional<PropertyValue> property(const PropertyKey& key) const;
    std::vector<RecordedCall> takeCalls();

    /** Records the call and returns the answer that the rules give it. */
    Answer receive(sd_bus_message* call);

    /** Replies as an ordinary service does. */
    void accept(sd_bus_message* call);

    /** Replies to a Get with this value, to other calls as accept(). */
    void give(sd_bus_message* call, const PropertyValue& value);

  private:
    struct Rule
    {
        std::string path;
        std::string member;
        Answer answer;
    };

    std::vector<Rule> rules;
    std::map<PropertyKey, PropertyValue> properties;
    std::vector<RecordedCall> calls;
};

/** Replies with a body, its text in the form of message_text.hpp. */
void replyBody(sd_bus_message* call, const std::string& signature,
               const std::string& text);

/** Replies with an error. */
void replyError(sd_bus_message* call, const std::string& name,
                const std::string& text);

} // namespace support
