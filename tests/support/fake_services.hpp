// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace support
{

/** A method call as it reached the services. */
struct RecordedCall
{
    std::string destination;
    std::string path;
    std::string interface;
    std::string member;
    std::string signature;
    /** The arguments as busctl prints them, for example
     *  `"a.b.Interface" "Property" b true` for the signature "ssv";
     *  message_text.hpp describes the form. */
    std::string arguments;
    bool replyExpected = true;
    bool autoStart = true;

    bool operator==(const RecordedCall&) const = default;
};

/** The answer to a matching call. */
struct Answer
{
    /** As an ordinary service: Set stores, Get returns what is stored (or
     *  UnknownProperty), any other method returns nothing. */
    static Answer accept();
    /** A D-Bus error of that name and text.
     *  @throws std::invalid_argument for a name that no error can have */
    static Answer error(std::string name, std::string text);
    /** A Get is answered with a variant of this type, any other call as by
     *  accept(). The value is text in the form of message_text.hpp: ("i", "7"),
     *  ("as", "2 a \"b c\""); but a string alone is taken as it is, without
     *  quotes: ("s", "some text"). */
    static Answer value(const std::string& signature, const std::string& text);
    /** A reply with this body as it stands, to a Get too; the text in the
     *  form of message_text.hpp. */
    static Answer body(std::string signature, std::string text);
    /** A reply without any body. */
    static Answer emptyReply();
    /** As accept(), but only after this long. */
    static Answer late(std::chrono::milliseconds delay);
    /** No reply at all. */
    static Answer never();
    /** No reply: the services give up the name that was addressed (the
     *  call is to such a name, not to the connection's own). */
    static Answer dropName();
    /** No reply: the services' connection closes, for good. */
    static Answer dropConnection();

    enum class Kind
    {
        accept,
        error,
        value,
        body,
        late,
        never,
        dropName,
        dropConnection
    };
    Kind kind = Kind::accept;
    std::string first;
    std::string second;
    std::chrono::milliseconds delay{0};
};

/**
 * The services of a BMC that the library calls, on one connection with its own
 * thread. They record every call and accept it, unless a rule sets another
 * answer. The tests and the demo both use them.
 *
 * All interfaces of an object share its properties. The connection does not
 * come back once the bus ends: a new object is needed.
 */
class FakeServices
{
  public:
    /** The four services that own the objects addressed by the library. */
    static std::vector<std::string> allNames();

    /**
     * Connects to the bus at PrivateBus::address() and owns these names; the
     * constructor returns once it does.
     * @throws std::system_error when the bus refuses
     */
    explicit FakeServices(const std::vector<std::string>& names = allNames());
    ~FakeServices();

    FakeServices(const FakeServices&) = delete;
    FakeServices& operator=(const FakeServices&) = delete;

    /**
     * From now on every call to this object path and member (for Set and Get:
     * of this property) gets this answer. An empty member means all members of
     * the object. The latest rule that matches wins.
     *
     * @throws std::invalid_argument when the value is not of its type
     */
    void answer(const std::string& path, const std::string& member,
                Answer answer);

    /** The calls since the last take, in the order of arrival. A call that
     *  returned to its caller is always among them. */
    std::vector<RecordedCall> takeCalls();

    /** Sets a property as the services' own side does; the value is as in
     *  Answer::value(). No signal is sent.
     *  @throws std::invalid_argument when the value is not of its type */
    void setProperty(const std::string& path, const std::string& property,
                     const std::string& signature, const std::string& value);

    /** The stored value as busctl prints it, such as `b true`, if any. */
    std::optional<std::string> property(const std::string& path,
                                        const std::string& property);

  private:
    class Service;
    std::unique_ptr<Service> service;
};

} // namespace support
