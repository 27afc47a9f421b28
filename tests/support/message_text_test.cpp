// SPDX-License-Identifier: Apache-2.0
#include "bus_pointers.hpp"
#include "caller.hpp"
#include "checked.hpp"
#include "message_text.hpp"
#include "private_bus.hpp"

#include <gtest/gtest.h>
#include <systemd/sd-bus.h>

#include <cstdint>
#include <stdexcept>
#include <string>

using support::appendText;
using support::bodyText;
using support::Caller;
using support::checkedSystemd;
using support::MessagePointer;
using support::PrivateBus;
using support::quoted;

namespace
{

/** A message needs a connection. */
class MessageText : public testing::Test
{
  protected:
    MessagePointer makeMessage()
    {
        return support::makeCall(caller.get(), "a.b", "/a", "a.b", "M", "", "");
    }

    static std::string textOf(sd_bus_message* message)
    {
        checkedSystemd(sd_bus_message_seal(message, 1, 0), "seal");
        return bodyText(message);
    }

    /** Reads the text and prints what was read. */
    std::string reprint(const std::string& signature, const std::string& text)
    {
        const MessagePointer message = makeMessage();
        appendText(message.get(), signature, text);
        EXPECT_STREQ(sd_bus_message_get_signature(message.get(), 1),
                     signature.c_str());
        return textOf(message.get());
    }

    void expectUnreadable(const std::string& signature, const std::string& text)
    {
        const MessagePointer message = makeMessage();
        EXPECT_THROW(appendText(message.get(), signature, text),
                     std::invalid_argument)
            << signature << ' ' << text;
    }

    PrivateBus privateBus;
    Caller caller;
};

TEST_F(MessageText, PrintsASet)
{
    const MessagePointer message = makeMessage();
    ASSERT_GE(sd_bus_message_append(message.get(), "ssv", "a.b.Interface",
                                    "Property", "b", 1),
              0);

    EXPECT_EQ(textOf(message.get()), "\"a.b.Interface\" \"Property\" b true");
}

TEST_F(MessageText, PrintsEachBasicType)
{
    const MessagePointer message = makeMessage();
    ASSERT_GE(sd_bus_message_append(message.get(), "ybnqiuxtdsog", 255, 0,
                                    -32768, 65535, INT32_MIN, UINT32_MAX,
                                    INT64_MIN, UINT64_MAX, 0.5, "text", "/path",
                                    "a{sv}"),
              0);

    EXPECT_EQ(textOf(message.get()),
              "255 false -32768 65535 -2147483648 4294967295 "
              "-9223372036854775808 18446744073709551615 0.5 \"text\" "
              "\"/path\" \"a{sv}\"");
}

TEST_F(MessageText, PrintsContainers)
{
    const MessagePointer message = makeMessage();
    ASSERT_GE(sd_bus_message_append(message.get(), "asasa{si}(yv)v", 2, "a",
                                    "b c", 0, 1, "k", 7, 1, "s", "in", "as", 1,
                                    "x"),
              0);

    EXPECT_EQ(textOf(message.get()),
              "2 \"a\" \"b c\" 0 1 \"k\" 7 1 s \"in\" as 1 \"x\"");
}

TEST_F(MessageText, PrintsAnEmptyBodyAsNothing)
{
    EXPECT_EQ(textOf(makeMessage().get()), "");
}

TEST_F(MessageText, EscapesStrings)
{
    EXPECT_EQ(quoted(""), "\"\"");
    EXPECT_EQ(quoted("a\"b\\c'd\ne\tf\x01g\xc3\xa4"),
              "\"a\\\"b\\\\c\\'d\\ne\\tf\\001g\\303\\244\"");
}

TEST_F(MessageText, ReadsWhatItPrints)
{
    EXPECT_EQ(reprint("y", "255"), "255");
    EXPECT_EQ(reprint("b", "true"), "true");
    EXPECT_EQ(reprint("b", "false"), "false");
    EXPECT_EQ(reprint("nqiuxt", "-1 1 -2 2 -3 3"), "-1 1 -2 2 -3 3");
    EXPECT_EQ(reprint("d", "0.1"), "0.1");
    EXPECT_EQ(reprint("og", "\"/a\" \"as\""), "\"/a\" \"as\"");
    EXPECT_EQ(reprint("as", "0"), "0");
    EXPECT_EQ(reprint("a(sa{sv})", "1 \"a\" 2 \"k\" i 7 \"l\" as 1 \"m\""),
              "1 \"a\" 2 \"k\" i 7 \"l\" as 1 \"m\"");
    EXPECT_EQ(reprint("s", quoted("a\"b\\c'd\ne\x01g\xc3\xa4")),
              "\"a\\\"b\\\\c\\'d\\ne\\001g\\303\\244\"");
}

TEST_F(MessageText, ReadsWordsWithoutQuotes)
{
    EXPECT_EQ(reprint("as", " 2  a b "), "2 \"a\" \"b\"");
    EXPECT_EQ(reprint("sv", "x s \"\""), "\"x\" s \"\"");
}

TEST_F(MessageText, RefusesTextThatIsNotOfItsSignature)
{
    expectUnreadable("y", "256");
    expectUnreadable("i", "7x");
    expectUnreadable("i", "");
    expectUnreadable("i", "7 8");
    expectUnreadable("b", "1");
    expectUnreadable("as", "2 a");
    expectUnreadable("as", "x a");
    expectUnreadable("o", "path");
    expectUnreadable("h", "1");
    expectUnreadable("v", "? 1");
    expectUnreadable("(s", "a");
    expectUnreadable("a", "0");
    expectUnreadable("s", "\"open");
    expectUnreadable("s", "\"\\8\"");
    expectUnreadable("s", "\"\\000\"");
}

} // namespace
