// SPDX-License-Identifier: Apache-2.0
#include "misbehaviours.hpp"

#include <utility>

namespace torture::bus
{

namespace
{

using support::Answer;
using enum Column;
using Endings = std::map<Column, Ending>;

constexpr size_t mebibyte = 1'048'576;

Endings all(const Ending& ending)
{
    return {{text, ending}, {list, ending}, {plain, ending}, {get, ending}};
}

/** For replies: only a get reads its reply. */
Endings getAlone(const Ending& ending)
{
    Endings endings = all(succeeds());
    endings[get] = ending;
    return endings;
}

/** For the text argument. */
Endings sent(const Ending& asValue, const Ending& asElement)
{
    return {{text, asValue}, {list, asElement}, {plain, succeeds()}};
}

Endings refused(const std::string& error)
{
    return all(fails("sd_bus_call: " + error));
}

Misbehaviour anotherType(std::string_view name, const std::string& signature,
                         const std::string& value)
{
    return {.name = name,
            .endings = getAlone(reads("")),
            .answer = Answer::value(signature, value)};
}

Misbehaviour noObjectPath(std::string_view name, const std::string& object)
{
    return {.name = name,
            .endings = all(leaves("sd_bus_message_new_method_call: "
                                  "org.freedesktop.DBus.Error.InvalidArgs: ")),
            .object = object};
}

std::vector<Misbehaviour> replies(const std::string& longText)
{
    const auto error = [](std::string_view name, const std::string& dbusName,
                          const std::string& text = "no") {
        return Misbehaviour{.name = name,
                            .endings = refused(dbusName + ": " + text),
                            .answer = Answer::error(dbusName, text),
                            .slow = text.size() >= mebibyte};
    };
    return {
        error("unknown object", "org.freedesktop.DBus.Error.UnknownObject"),
        error("rejected property",
              "org.freedesktop.DBus.Error.PropertyReadOnly"),
        error("refused access", "org.freedesktop.DBus.Error.AccessDenied"),
        error("method error", "xyz.openbmc_project.Common.Error.NotAllowed"),
        error("long error", "a.b.Error", longText),
        anotherType("integer", "i", "7"),
        anotherType("boolean", "b", "true"),
        anotherType("object path", "o", "/a"),
        anotherType("array", "as", "1 held"),
        anotherType("structure", "(ss)", "held held"),
        anotherType("dictionary", "a{sv}", "1 held s held"),
        anotherType("variant in a variant", "v", "s held"),
        {.name = "empty text",
         .endings = getAlone(reads("")),
         .answer = Answer::value("s", "")},
        {.name = "no body",
         .endings = getAlone(reads("")),
         .answer = Answer::emptyReply()},
        {.name = "variant and more",
         .endings = getAlone(succeeds()),
         .answer = Answer::body("vsv", "s held more i 7")},
        {.name = "no variant",
         .endings = getAlone(fails("sd_bus_message_skip variant: ")),
         .answer = Answer::body("s", "held")},
        {.name = "structure, not a variant",
         .endings = getAlone(fails("sd_bus_message_skip variant: ")),
         .answer = Answer::body("(v)", "s held")},
        {.name = "long reply",
         .endings = getAlone(reads(longText)),
         .answer = Answer::value("s", longText),
         .slow = true},
    };
}

std::vector<Misbehaviour> peers()
{
    const auto noReply = refused("org.freedesktop.DBus.Error.NoReply: ");
    const auto timeOut = refused("org.freedesktop.DBus.Error.Timeout: ");
    return {
        {.name = "absent service",
         .endings = refused("org.freedesktop.DBus.Error.ServiceUnknown: "),
         .peer = Peer::absent},
        {.name = "connection dropped",
         .endings = noReply,
         .answer = Answer::dropConnection()},
        {.name = "process killed",
         .endings = noReply,
         .peer = Peer::killed,
         .slow = true},
        {.name = "name dropped",
         .endings = timeOut,
         .answer = Answer::dropName(),
         .timesOut = true,
         .slow = true},
        {.name = "no answer",
         .endings = timeOut,
         .answer = Answer::never(),
         .timesOut = true,
         .slow = true},
        {.name = "process stopped",
         .endings = timeOut,
         .peer = Peer::stopped,
         .timesOut = true,
         .slow = true},
    };
}

std::vector<Misbehaviour> arguments(const std::string& longText)
{
    const std::string withNul("te\0xt", 5);
    return {
        {.name = "long text",
         .endings =
             sent(sends('"' + longText + '"'), sends('"' + longText + '"')),
         .slow = true,
         .text = longText},
        {.name = "text too long for a message",
         .endings = {{text, fails("sd_bus_call: ")},
                     {list, fails("sd_bus_call: ")}},
         .slow = true,
         .disconnects = true,
         .text = std::string(40 * mebibyte, 'x')},
        {.name = "text that is not UTF-8",
         .endings = sent(fails("sd_bus_call: "), sends("")),
         .text = "te\xffxt"},
        {.name = "text with a NUL",
         .endings = sent(sends("\"te\""), sends("\"te\"")),
         .text = withNul},
        noObjectPath("object with a blank", "a b"),
        noObjectPath("object without a name", ""),
        noObjectPath("object with two slashes", "a//b"),
        noObjectPath("object that ends in a slash", "a/"),
        noObjectPath("object that is not UTF-8", "a\xff"),
        noObjectPath("object of 1 MiB", std::string(mebibyte, 'x')),
    };
}

} // namespace

Ending succeeds()
{
    return {};
}

Ending reads(std::string text)
{
    Ending ending;
    ending.read = std::move(text);
    return ending;
}

Ending sends(std::string text)
{
    Ending ending;
    ending.sent = std::move(text);
    return ending;
}

Ending fails(std::string error)
{
    return {.kind = Ending::Kind::fails, .error = std::move(error)};
}

Ending leaves(std::string error)
{
    return {.kind = Ending::Kind::leaves, .error = std::move(error)};
}

std::vector<Misbehaviour> misbehaviours(size_t longBytes)
{
    const std::string longText(longBytes, 'x');
    std::vector<Misbehaviour> every;
    for (const auto& group : {replies(longText), peers(), arguments(longText)})
    {
        every.insert(every.end(), group.begin(), group.end());
    }
    return every;
}

} // namespace torture::bus
