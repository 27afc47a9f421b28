// SPDX-License-Identifier: Apache-2.0
#include "../../libostrel/duplicate_keys.hpp"
#include "../../libostrel/json_string.hpp"
#include "../../libostrel/json_tokens.hpp"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace
{

using ostrel::compareTexts;
using ostrel::DuplicateKeys;
using ostrel::Token;
using ostrel::TokenKind;
using ostrel::Tokens;

/** The tokens of a text, each followed by a blank; behind them "end", or "!"
 *  and where the text stops being JSON. */
std::string tokensOf(const std::string& json)
{
    Tokens tokens(json);
    std::string all;
    for (;;)
    {
        const Token token = tokens.next();
        switch (token.kind)
        {
            case TokenKind::end:
                return all + "end";
            case TokenKind::mistake:
                return all + '!' + std::to_string(token.place.start);
            default:
                all += std::string(token.place.of(json)) + ' ';
        }
    }
}

TEST(Tokens, AreThePiecesOfTheTextInTheirOrder)
{
    EXPECT_EQ(tokensOf(R"( {"a" : [-1.5e+3 ,true,null,"x\"\u0041" ], "":{}} )"),
              R"({ "a" [ -1.5e+3 true null "x\"\u0041" ] "" { } } end)");
}

TEST(Tokens, DistinguishKeysFromStringsAndCountTheOpenLevels)
{
    const std::string json = R"({"a":["b",{"c":false}]})";
    Tokens tokens(json);
    for (const auto& [kind, depth] : {std::pair{TokenKind::objectStart, 1U},
                                      {TokenKind::key, 1},
                                      {TokenKind::arrayStart, 2},
                                      {TokenKind::string, 2},
                                      {TokenKind::objectStart, 3},
                                      {TokenKind::key, 3},
                                      {TokenKind::word, 3},
                                      {TokenKind::objectEnd, 2},
                                      {TokenKind::arrayEnd, 1},
                                      {TokenKind::objectEnd, 0},
                                      {TokenKind::end, 0},
                                      {TokenKind::end, 0}})
    {
        EXPECT_EQ(tokens.next().kind, kind);
        EXPECT_EQ(tokens.depth(), depth);
    }
}

TEST(Tokens, EndAtAMistakeWhereItStarts)
{
    EXPECT_EQ(tokensOf(""), "!0");
    EXPECT_EQ(tokensOf("  "), "!2");
    EXPECT_EQ(tokensOf("\xef\xbb\xbf{}"), "!0");
    EXPECT_EQ(tokensOf(R"({"a":1,})"), R"({ "a" 1 !7)");
    EXPECT_EQ(tokensOf(R"({"a" 1})"), R"({ !5)");
    EXPECT_EQ(tokensOf(R"({"a",1})"), R"({ !4)");
    EXPECT_EQ(tokensOf(R"({"a":1 "b":2})"), R"({ "a" 1 !7)");
    EXPECT_EQ(tokensOf(R"({"a":  "x\q"})"), R"({ "a" !7)");
    EXPECT_EQ(tokensOf(R"({"a":[1,  02]})"), R"({ "a" [ 1 0 !11)");
    EXPECT_EQ(tokensOf(R"({"a":1]})"), R"({ "a" 1 !6)");
    EXPECT_EQ(tokensOf("[1/2]"), "[ 1 !2");
    EXPECT_EQ(tokensOf("{} {}"), "{ } !3");
    EXPECT_EQ(tokensOf(std::string("{}\0", 3)), "{ } !2");
}

TEST(Tokens, EndWhereMoreIsExpected)
{
    EXPECT_EQ(tokensOf("{"), "{ !1");
    EXPECT_EQ(tokensOf("[1"), "[ 1 !2");
    EXPECT_EQ(tokensOf("[1,"), "[ 1 !3");
    EXPECT_EQ(tokensOf(R"({"a":)"), R"({ "a" !5)");
    EXPECT_EQ(tokensOf(R"(["x)"), "[ !1");
    EXPECT_EQ(tokensOf("[-"), "[ !1");
    EXPECT_EQ(tokensOf("[tru"), "[ !1");
}

TEST(Tokens, StayAtTheMistake)
{
    Tokens tokens("[x");
    EXPECT_EQ(tokens.next().kind, TokenKind::arrayStart);
    for (int call = 0; call < 3; ++call)
    {
        const Token token = tokens.next();
        EXPECT_EQ(token.kind, TokenKind::mistake);
        EXPECT_EQ(token.place.start, 1U);
        EXPECT_EQ(token.place.length, 0U);
    }
}

std::vector<std::uint32_t> duplicatesOf(const std::string& json)
{
    Tokens tokens(json);
    DuplicateKeys duplicates(json, 0);
    Token token = tokens.next();
    for (; token.place.length != 0; token = tokens.next())
    {
        duplicates.take(token);
    }
    EXPECT_EQ(token.kind, TokenKind::end) << json;
    return duplicates.places();
}

TEST(DuplicateKeys, AreAllKeysButTheFirstOfEachText)
{
    EXPECT_EQ(duplicatesOf(R"({"a":1,"b":{"a":1},"c":[{"a":1}]})"),
              (std::vector<std::uint32_t>{}));
    EXPECT_EQ(duplicatesOf(R"({"a":1,"b":1,"a":1,"a":1})"),
              (std::vector<std::uint32_t>{13, 19}));
    EXPECT_EQ(duplicatesOf(R"({"long name":1,"\u006cong name":1})"),
              (std::vector<std::uint32_t>{15}));
    EXPECT_EQ(duplicatesOf(R"({"x":{"b":1,"b":1},"y":1,"y":1})"),
              (std::vector<std::uint32_t>{12, 25}));
}

TEST(DuplicateKeys, AreFoundInTheirOrderHoweverMany)
{
    std::string json = "{";
    std::vector<std::uint32_t> places;
    for (size_t i = 0; i < 100; ++i)
    {
        places.push_back(static_cast<std::uint32_t>(json.size()));
        json += R"("name":1,)";
    }
    places.erase(places.begin());
    EXPECT_EQ(duplicatesOf(json + R"("last":1})"), places);
}

TEST(DuplicateKeys, AreFoundByTextsOfEveryLength)
{
    for (const std::string rest : {"", "b", "bc", "bcd", "bcde", "bcdef"})
    {
        EXPECT_EQ(
            duplicatesOf(R"({"\u0061)" + rest + R"(":1,"a)" + rest + R"(":1})"),
            (std::vector{static_cast<std::uint32_t>(12 + rest.size())}));
    }
}

TEST(DuplicateKeys, AreNoKeysThatStartAndEndAlike)
{
    EXPECT_EQ(duplicatesOf(R"({"aaaa":1,"aaaaa":1,"\u0061aaaaa":1,"aaa":1})"),
              (std::vector<std::uint32_t>{}));
    EXPECT_EQ(
        duplicatesOf(R"({"same1tail":1,"same2tail":1,"\u0073ame3tail":1})"),
        (std::vector<std::uint32_t>{}));
}

TEST(DuplicateKeys, AreNoKeysThatAreTheSameUpToANul)
{
    EXPECT_EQ(duplicatesOf(R"({"a\u0000b":1,"a\u0000":1,"a":1,"a\u0000c":1})"),
              (std::vector<std::uint32_t>{}));
}

TEST(Spellings, AreOrderedByTheirTexts)
{
    const auto* const a = R"("a")";
    EXPECT_EQ(compareTexts(R"("\u0061\n")", R"("a\u000a")"), 0);
    EXPECT_LT(compareTexts(a, R"("\u0061b")"), 0);
    EXPECT_GT(compareTexts(R"("\u0061b")", a), 0);
    EXPECT_LT(compareTexts(a, R"("\u0062")"), 0);
    EXPECT_LT(compareTexts(R"("a\u0000b")", R"("a\u0000c")"), 0);
    EXPECT_LT(compareTexts(R"("")", a), 0);
}

} // namespace
