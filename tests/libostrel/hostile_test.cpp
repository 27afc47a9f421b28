// SPDX-License-Identifier: Apache-2.0
#include "store_test.hpp"

#include <cstdint>
#include <ostream>

namespace
{

using namespace std::string_literals;

constexpr size_t mebibyte = 1 << 20;
#ifdef __SANITIZE_ADDRESS__
constexpr size_t large = 8 * mebibyte; // seconds become minutes
#else
constexpr size_t large = 64 * mebibyte;
#endif

std::string repeated(const std::string& piece, size_t length)
{
    std::string text;
    text.reserve(length + piece.size());
    while (text.size() < length)
    {
        text += piece;
    }
    return text;
}

/** A document whose deepest value is at this level, the root being at 1. */
std::string nested(size_t levels)
{
    const size_t lists = levels - 2;
    return R"({"a":{"b":"old","deep":)" + std::string(lists, '[') +
           std::string(lists, ']') + "}}";
}

/** Bytes without a pattern, the same each time. */
std::string garbage()
{
    std::string bytes(large, '\0');
    std::uint32_t state = 1;
    for (char& byte : bytes)
    {
        state = state * 1664525 + 1013904223;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

std::string longString()
{
    return R"({"a":{"b":"old","long":")" + std::string(large, 'x') + R"("}})";
}

/** About 800,000 items: a reader that looks through all of them for each would
 *  not be done within the time-out of the test. */
std::string manyItems()
{
    const std::string value(60, 'v');
    std::string text = R"({"a":{"b":"old")";
    for (size_t i = 0; text.size() < large; ++i)
    {
        text += R"(,"item)" + std::to_string(i) + R"(":")" + value + '"';
    }
    return text + R"(,"last":"end"}})";
}

/** 100,000 short keys and a long one in their middle, all with the same start
 *  and end: a reader that looks through the long one for each of the others
 *  would not be done within the time-out of the test. */
std::string keysThatLookAlike()
{
    std::string text = R"({"same100000tail":1)";
    for (size_t i = 100'001; i < 200'000; ++i)
    {
        text += R"(,"same)" + std::to_string(i) + R"(tail":1)";
        if (i == 150'000)
        {
            text += R"(,"same150000)" + std::string(large, 'x') + R"(tail":1)";
        }
    }
    return text + R"(,"same199999tail":1})";
}

struct Document
{
    const char* name;
    /** Made where it is needed: some are large. */
    std::string (*text)();
};

void PrintTo(const Document& document, std::ostream* out)
{
    *out << document.name;
}

class HostileDocument : public StoreTest,
                        public testing::WithParamInterface<Document>
{
};

using Refused = HostileDocument;

TEST_P(Refused, IsLeftAloneAndTheNextSaveWorksOnceItIsPutRight)
{
    const std::string text = GetParam().text();
    support::writeFile(document, text);
    const auto before = support::statusOf(document);
    for (const auto& open :
         {&HostileDocument::load, &HostileDocument::loadReadOnly})
    {
        errno = 0;
        EXPECT_EQ((this->*open)(), nullptr);
        EXPECT_EQ(errno, EBADMSG);
    }
    EXPECT_TRUE(lockIsFree());
    EXPECT_TRUE(support::untouched(before, support::statusOf(document)));
    // Not by EXPECT_EQ, which would print both.
    EXPECT_TRUE(support::readFile(document) == text);
    EXPECT_EQ(support::namesIn(directory),
              std::vector<std::string>{"document.json"});

    support::writeFile(document, R"({"a":{"b":"old"}})");
    EXPECT_EQ(set("a", "c", "new"), std::pair(0, 0));
    EXPECT_EQ(get(load(), "a", "b"), "old");
    EXPECT_EQ(get(load(), "a", "c"), "new");
}

const auto nameOf = [](const auto& document) { return document.param.name; };

INSTANTIATE_TEST_SUITE_P(
    Depth, Refused,
    testing::Values(
        Document{"Brackets", [] { return std::string(mebibyte, '['); }},
        Document{"Braces", [] { return repeated(R"({"a":)", mebibyte); }},
        Document{"OneLevelTooDeep", [] { return nested(2049); }}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Twice, Refused,
    testing::Values(
        Document{"Section", [] { return R"({"a":{},"b":{},"a":{}})"s; }},
        Document{"Item", [] { return R"({"a":{"b":"1","c":"","b":"1"}})"s; }},
        Document{"KeyOfAValue", [] { return R"({"a":{"b":{"c":1,"c":1}}})"s; }},
        Document{"KeyWithinAList",
                 [] { return R"({"a":{"b":[[{"c":1,"c":1}]]}})"s; }},
        Document{"KeyOfASectionThatIsAList",
                 [] { return R"({"a":[{"c":1,"c":1}]})"s; }},
        Document{"KeySpelledInTwoWays",
                 [] { return R"({"a":{"b":"1","\u0062":"1"}})"s; }},
        Document{"EmptyKey", [] { return R"({"a":{"":"1","":"1"}})"s; }}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    RawNul, Refused,
    testing::Values(
        Document{"BehindTheEnd", [] { return "{\"a\":{\"b\":\"c\"}}\0"s; }},
        Document{"BehindTheLastLine", [] { return "{\"a\":{}}\n\0\0\0"s; }},
        Document{"InAString", [] { return "{\"a\":{\"b\":\"c\0d\"}}"s; }},
        Document{"InAKey", [] { return "{\"a\":{\"b\0\":\"c\"}}"s; }},
        Document{"BetweenItems",
                 [] { return "{\"a\":{\"b\":\"c\",\0\"d\":\"e\"}}"s; }},
        Document{"BehindANumber", [] { return "{\"a\":{\"b\":1\0}}"s; }},
        Document{"BehindAWord", [] { return "{\"a\":{\"b\":true\0}}"s; }},
        Document{"AtTheStart", [] { return "\0{}"s; }},
        // What some file systems leave of a file after a power cut.
        Document{"Alone", [] { return std::string(4096, '\0'); }}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Text, Refused,
    testing::Values(
        Document{"OverlongOfTwoBytes",
                 [] { return "{\"a\":{\"b\":\"\xc0\xaf\"}}"s; }},
        Document{"OverlongOfThreeBytes",
                 [] { return "{\"a\":{\"b\":\"\xe0\x80\xaf\"}}"s; }},
        Document{"OverlongOfFourBytes",
                 [] { return "{\"a\":{\"b\":\"\xf0\x80\x80\xaf\"}}"s; }},
        Document{"OverlongNul", [] { return "{\"a\":{\"b\":\"\xc0\x80\"}}"s; }},
        Document{"SurrogateBytes",
                 [] { return "{\"a\":{\"b\":\"\xed\xa0\x80\"}}"s; }},
        Document{
            "PairOfSurrogateBytes",
            [] { return "{\"a\":{\"b\":\"\xed\xa0\xbd\xed\xb8\x80\"}}"s; }},
        Document{"BeyondUnicode",
                 [] { return "{\"a\":{\"b\":\"\xf4\x90\x80\x80\"}}"s; }},
        Document{"ContinuationAlone",
                 [] { return "{\"a\":{\"b\":\"\x80\"}}"s; }},
        Document{"TornInAKey", [] { return "{\"a\":{\"\xe2\x82\":\"\"}}"s; }},
        Document{"TornAtTheEndOfTheFile",
                 [] { return "{\"a\":{\"b\":\"\xe2\x82"s; }},
        Document{"ByteOrderMark", [] { return "\xef\xbb\xbf{\"a\":{}}"s; }},
        Document{"TornByteOrderMark", [] { return "\xef\xbb{\"a\":{}}"s; }},
        Document{"OfSixteenBits", [] { return "\xff\xfe{\0}\0"s; }},
        Document{"FirstSurrogateEscapeAlone",
                 [] { return R"({"a":{"b":"\ud800"}})"s; }},
        Document{"SecondSurrogateEscapeAlone",
                 [] { return R"({"a":{"b":"\udc00"}})"s; }},
        Document{"FirstSurrogateEscapeTwice",
                 [] { return R"({"a":{"b":"\ud800\ud800"}})"s; }},
        Document{"TornEscapeAtTheEndOfTheFile",
                 [] { return R"({"a":{"b":"\u00)"s; }}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Large, Refused,
    testing::Values(Document{"Garbage", garbage},
                    Document{"Zeros", [] { return std::string(large, '\0'); }},
                    Document{"TornString",
                             [] {
                                 return R"({"a":{"b":")" +
                                        std::string(large, 'x');
                             }},
                    Document{"TornItems",
                             [] {
                                 std::string text = manyItems();
                                 text.pop_back();
                                 return text;
                             }},
                    Document{"KeysThatLookAlike", keysThatLookAlike}),
    nameOf);

/** The part of a text behind the first occurrence of another. */
std::string behind(const std::string& text, const std::string& start)
{
    return text.substr(text.find(start) + start.size());
}

using Hostile = StoreTest;

TEST_F(Hostile, DeepestDocumentIsReadAndKept)
{
    support::writeFile(document, nested(2048));
    EXPECT_EQ(get(loadReadOnly(), "a", "b"), "old");
    EXPECT_EQ(set("a", "b", "new"), std::pair(0, 0));
    EXPECT_EQ(get(load(), "a", "b"), "new");
    std::string text = support::readFile(document);
    std::erase_if(text, [](char byte) { return byte != '[' && byte != ']'; });
    EXPECT_EQ(text, std::string(2046, '[') + std::string(2046, ']'));
}

TEST_F(Hostile, EscapedNulEndsAStringForTheReaderAndIsKept)
{
    support::writeFile(document, R"({"a":{"b":"x\u0000y"}})");
    EXPECT_EQ(get(load(), "a", "b"), "x");
    EXPECT_EQ(set("a", "c", "new"), std::pair(0, 0));
    EXPECT_EQ(support::readFile(document), R"({
    "a": {
        "b": "x\u0000y",
        "c": "new"
    }
}
)");
}

TEST_F(Hostile, EscapedNulInAForeignKeyIsKeptAndHidesNothing)
{
    support::writeFile(document, R"({"a\u0000":{"x":"1"},)"
                                 R"("a":{"b\u0000c":"2","b":"3"}})");
    EXPECT_EQ(get(load(), "a", "x"), "(none)");
    EXPECT_EQ(get(load(), "a", "b"), "3");
    EXPECT_EQ(set("a", "b", "new"), std::pair(0, 0));
    EXPECT_EQ(support::readFile(document), R"({
    "a\u0000": {
        "x": "1"
    },
    "a": {
        "b\u0000c": "2",
        "b": "new"
    }
}
)");
}

TEST_F(Hostile, IntegersBeyond64BitsAreKept)
{
    support::writeFile(document, R"({"a":{"n":123456789012345678901234567890,)"
                                 R"("m":-9223372036854775809,"b":"old"}})");
    EXPECT_EQ(get(load(), "a", "b"), "old");
    EXPECT_EQ(set("a", "b", "new"), std::pair(0, 0));
    EXPECT_EQ(support::readFile(document), R"({
    "a": {
        "n": 123456789012345678901234567890,
        "m": -9223372036854775809,
        "b": "new"
    }
}
)");
}

TEST_F(Hostile, LongStringIsCutForTheReaderAndKept)
{
    support::writeFile(document, longString());
    EXPECT_EQ(get(loadReadOnly(), "a", "long"), std::string(255, 'x'));
    EXPECT_EQ(set("a", "b", "new"), std::pair(0, 0));
    EXPECT_EQ(get(loadReadOnly(), "a", "b"), "new");
    EXPECT_TRUE(behind(support::readFile(document), R"("long": ")") ==
                std::string(large, 'x') + "\"\n    }\n}\n");
}

TEST_F(Hostile, EachOfVeryManyItemsIsReadAndKept)
{
    support::writeFile(document, manyItems());
    EXPECT_EQ(get(loadReadOnly(), "a", "last"), "end");
    EXPECT_EQ(set("a", "b", "new"), std::pair(0, 0));
    const Handle config = loadReadOnly();
    EXPECT_EQ(get(config, "a", "b"), "new");
    EXPECT_EQ(get(config, "a", "item0"), std::string(60, 'v'));
    EXPECT_EQ(get(config, "a", "item50000"), std::string(60, 'v'));
    EXPECT_EQ(get(config, "a", "last"), "end");
}

} // namespace
