// SPDX-License-Identifier: Apache-2.0
#include "json_model.hpp"

#include <gtest/gtest.h>

#include <algorithm>

namespace
{

using fuzz::Disagreement;
using fuzz::Document;

/** The rules by which the parser is wrong about a text, each with an end. */
std::string wrongRules(std::string_view text)
{
    std::string rules;
    for (const auto& row : fuzz::disagreements())
    {
        rules += row.appliesTo(text) ? std::string(row.rule) + '\n' : "";
    }
    return rules;
}

class Row : public testing::TestWithParam<Disagreement>
{
};

TEST_P(Row, AloneCorrectsWhatTheParserSaysOfItsExample)
{
    const auto& [rule, example, isReadByTheStore, appliesTo] = GetParam();
    EXPECT_EQ(Document::Json::accept(example), !isReadByTheStore);
    EXPECT_EQ(Document::read(example).has_value(), isReadByTheStore);
    EXPECT_EQ(wrongRules(example), rule + std::string("\n"));
}

INSTANTIATE_TEST_SUITE_P(Disagreement, Row,
                         testing::ValuesIn(fuzz::disagreements()),
                         [](const auto& row) {
                             std::string name = row.param.rule;
                             std::ranges::replace(name, ' ', '_');
                             return name;
                         });

TEST(DocumentModel, KeepsEachSpellingAndLaysTheTextOut)
{
    auto document = Document::read(
        R"({ "\u0061" : {"b":"\/","\u0063":"d"},"n":[-0,1E+400 ,{ }, [ ]]})");
    ASSERT_TRUE(document.has_value());
    document->set("a", "c", "e/");
    EXPECT_EQ(document->written(), R"({
    "\u0061": {
        "b": "\/",
        "\u0063": "e/"
    },
    "n": [
        -0,
        1E+400,
        {},
        []
    ]
}
)");
}

} // namespace
