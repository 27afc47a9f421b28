// SPDX-License-Identifier: Apache-2.0
#include "fuzz_target.hpp"
#include "support/files.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <utility>

namespace
{

namespace fs = std::filesystem;

std::vector<std::string> seeds()
{
    return support::namesIn(CORPUS);
}

void run(const std::string& seed)
{
    const std::string input = support::readFile(fs::path(CORPUS) / seed);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()),
                           input.size());
}

bool isNoticed(int sabotage)
{
    const int before = std::exchange(fuzz::sabotage, sabotage);
    const auto failing = [](const std::string& seed) {
        try
        {
            run(seed);
            return false;
        }
        catch (const fuzz::Failure&)
        {
            return true;
        }
    };
    const auto all = seeds();
    const bool noticed = std::ranges::any_of(all, failing);
    fuzz::sabotage = before;
    return noticed;
}

class Seed : public testing::TestWithParam<std::string>
{
};

TEST_P(Seed, HoldsEachProperty)
{
    EXPECT_NO_THROW(run(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Corpus, Seed, testing::ValuesIn(seeds()),
                         [](const auto& seed) {
                             std::string name = seed.param;
                             std::ranges::replace_if(
                                 name,
                                 [](unsigned char letter) {
                                     return std::isalnum(letter) == 0;
                                 },
                                 '_');
                             return name;
                         });

TEST(Corpus, NoticesEachSabotage)
{
    ASSERT_GT(fuzz::sabotages, 0);
    for (int number = 1; number <= fuzz::sabotages; ++number)
    {
        EXPECT_TRUE(isNoticed(number)) << number;
    }
}

} // namespace
