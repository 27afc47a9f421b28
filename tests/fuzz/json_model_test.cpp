#include "json_model.hpp"

#include <gtest/gtest.h>

#include <algorithm>

namespace
{

using fuzz::Disagreement;
using fuzz::Document;

/** The reasons for which the store refuses a text, with a line end each. */
std::string reasonsFor(std::string_view text)
{
    std::string reasons;
    for (const auto& row : fuzz::refusedByTheStore())
    {
        reasons += row.appliesTo(text) ? std::string(row.reason) + '\n' : "";
    }
    return reasons;
}

class Row : public testing::TestWithParam<Disagreement>
{
};

TEST_P(Row, CorrectsWhatTheParserSaysOfItsExample)
{
    const auto& [reason, example, appliesTo] = GetParam();
    EXPECT_TRUE(Document::Json::accept(example));
    EXPECT_FALSE(Document::read(example).has_value());
    EXPECT_EQ(reasonsFor(example), reason + std::string("\n"));
}

INSTANTIATE_TEST_SUITE_P(Disagreement, Row,
                         testing::ValuesIn(fuzz::refusedByTheStore()),
                         [](const auto& row) {
                             std::string name = row.param.reason;
                             std::ranges::replace(name, ' ', '_');
                             return name;
                         });

} // namespace
