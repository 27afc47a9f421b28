// SPDX-License-Identifier: Apache-2.0
#include "store_test.hpp"

namespace
{

class Get : public StoreTest
{
  protected:
    /** Reads the item "a", "b" into a buffer of this size. */
    std::string read(const std::string& value, size_t size) const
    {
        support::writeFile(document, R"({"a":{"b":")" + value + R"("}})");
        const Handle config = loadReadOnly();
        std::string buffer(size, '#');
        EXPECT_EQ(json_config_get_string(config.get(), "a", "b", buffer.data(),
                                         buffer.size()),
                  0);
        return buffer;
    }
};

TEST_F(Get, CopiesTheStringWithItsEnd)
{
    EXPECT_EQ(read("text", 8), std::string("text\0###", 8));
}

TEST_F(Get, StringThatJustFitsIsWhole)
{
    EXPECT_EQ(read("text", 5), std::string("text\0", 5));
}

TEST_F(Get, LongerStringIsCut)
{
    EXPECT_EQ(read("text", 4), std::string("tex\0", 4));
}

TEST_F(Get, BufferOfOneByteTakesTheEndOnly)
{
    EXPECT_EQ(read("text", 1), std::string("\0", 1));
}

TEST_F(Get, EmptyStringIsFound)
{
    EXPECT_EQ(read("", 2), std::string("\0#", 2));
}

TEST_F(Get, CutKeepsCharactersWhole)
{
    const std::string two = "a\xc3\xa4";
    const std::string three = "a\xe2\x82\xac";
    const std::string four = "a\xf0\x9f\x98\x80";
    EXPECT_STREQ(read(two, 4).c_str(), two.c_str());
    EXPECT_STREQ(read(two, 3).c_str(), "a");
    EXPECT_STREQ(read(three, 5).c_str(), three.c_str());
    EXPECT_STREQ(read(three, 4).c_str(), "a");
    EXPECT_STREQ(read(three, 3).c_str(), "a");
    EXPECT_STREQ(read(four, 6).c_str(), four.c_str());
    EXPECT_STREQ(read(four, 5).c_str(), "a");
    EXPECT_STREQ(read(four, 3).c_str(), "a");
    EXPECT_STREQ(read("\xf0\x9f\x98\x80", 4).c_str(), "");
}

TEST_F(Get, CutCountsWhatEscapesStandFor)
{
    EXPECT_STREQ(read(R"(ab\ncd)", 6).c_str(), "ab\ncd");
    EXPECT_STREQ(read(R"(ab\ncd)", 5).c_str(), "ab\nc");
    EXPECT_STREQ(read(R"(ab\ncd)", 3).c_str(), "ab");
    EXPECT_STREQ(read(R"(a\u20acb)", 4).c_str(), "a");
}

TEST_F(Get, NothingBehindTheCutIsCopied)
{
    EXPECT_STREQ(read("\xc3\xa4\\n", 2).c_str(), "");
    EXPECT_STREQ(read(R"(\u00e4\n)", 2).c_str(), "");
}

TEST_F(Get, EscapesStandForTheirCharacters)
{
    EXPECT_STREQ(read(R"(\"\\\/\b\f\n\r\t)", 16).c_str(), "\"\\/\b\f\n\r\t");
}

TEST_F(Get, CharactersOfEachLengthAreReadEscapedOrNot)
{
    for (const auto& [escape, character] :
         {std::pair{R"(\u007f)", "\x7f"},
          {R"(\u0080)", "\xc2\x80"},
          {R"(\u07ff)", "\xdf\xbf"},
          {R"(\u0800)", "\xe0\xa0\x80"},
          {R"(\uD7fF)", "\xed\x9f\xbf"},
          {R"(\ue000)", "\xee\x80\x80"},
          {R"(\uffff)", "\xef\xbf\xbf"},
          {R"(\ud800\udc00)", "\xf0\x90\x80\x80"},
          {R"(\ud83d\uDE00)", "\xf0\x9f\x98\x80"},
          {R"(\udbff\udfff)", "\xf4\x8f\xbf\xbf"}})
    {
        EXPECT_STREQ(read(escape, 8).c_str(), character);
        EXPECT_STREQ(read(character, 8).c_str(), character);
    }
}

TEST_F(Get, StringWithANulReadsUpToIt)
{
    EXPECT_STREQ(read("ab\\u0000cd", 16).c_str(), "ab");
}

TEST_F(Get, WhatIsNoStringIsNotFound)
{
    support::writeFile(document, R"({
        "a": {"number": 1, "real": 1.5, "yes": true, "null": null,
              "list": ["text"], "object": {"b": "text"}},
        "number": 1, "list": ["b"], "string": "b"})");
    const Handle config = load();
    for (const auto& [section, key] : {std::pair{"a", "number"},
                                       {"a", "real"},
                                       {"a", "yes"},
                                       {"a", "null"},
                                       {"a", "list"},
                                       {"a", "object"},
                                       {"a", "absent"},
                                       {"number", "b"},
                                       {"list", "b"},
                                       {"string", "b"},
                                       {"absent", "b"},
                                       {"", ""}})
    {
        char buffer[8] = "before";
        errno = 0;
        EXPECT_NE(json_config_get_string(config.get(), section, key, buffer,
                                         sizeof(buffer)),
                  0)
            << section << ' ' << key;
        EXPECT_EQ(errno, ENOENT);
        EXPECT_STREQ(buffer, "before");
    }
}

TEST_F(Get, NullArgumentsAndSizeZeroAreRefused)
{
    support::writeFile(document, R"({"a":{"b":"text"}})");
    const Handle owned = load();
    json_config_t* const config = owned.get();
    char buffer[8] = "before";
    const auto refused = [](int result) {
        const bool told = result != 0 && errno == EINVAL;
        errno = 0;
        return told;
    };
    EXPECT_TRUE(refused(json_config_get_string(nullptr, "a", "b", buffer, 8)));
    EXPECT_TRUE(
        refused(json_config_get_string(config, nullptr, "b", buffer, 8)));
    EXPECT_TRUE(
        refused(json_config_get_string(config, "a", nullptr, buffer, 8)));
    EXPECT_TRUE(refused(json_config_get_string(config, "a", "b", nullptr, 8)));
    EXPECT_TRUE(refused(json_config_get_string(config, "a", "b", buffer, 0)));
    EXPECT_STREQ(buffer, "before");
}

TEST_F(Get, SeesTheChangesOfItsOwnHandle)
{
    support::writeFile(document, R"({"a":{"b":"old","c":"old"}})");
    const Handle config = load();
    ASSERT_EQ(json_config_set_string(config.get(), "a", "b", "new"), 0);
    ASSERT_EQ(json_config_delete_item(config.get(), "a", "c"), 0);
    EXPECT_EQ(get(config, "a", "b"), "new");
    EXPECT_EQ(get(config, "a", "c"), "(none)");
}

} // namespace
