// SPDX-License-Identifier: Apache-2.0
#include "store_test.hpp"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <ostream>

namespace
{

/** What was asked for by new, in the store too. */
struct Cost
{
    size_t allocations = 0;
    size_t bytes = 0;
    size_t mostBytes = 0;
};

Cost cost;

} // namespace

[[gnu::noinline]] void* operator new(size_t size)
{
    void* const memory = std::malloc(size);
    if (memory == nullptr)
    {
        throw std::bad_alloc();
    }
    ++cost.allocations;
    cost.bytes += ::malloc_usable_size(memory);
    cost.mostBytes = std::max(cost.mostBytes, cost.bytes);
    return memory;
}

[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    cost.bytes -= ::malloc_usable_size(memory);
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, size_t) noexcept
{
    operator delete(memory);
}

namespace
{

constexpr size_t mebibyte = 1 << 20;

std::string times(size_t count, const std::string& piece)
{
    std::string text;
    for (size_t i = 0; i < count; ++i)
    {
        text += piece;
    }
    return text;
}

/** Numbered, so that no two are the same. */
std::string members(size_t length, const std::string& value)
{
    std::string text;
    while (text.size() < length)
    {
        text += "\"member" + std::to_string(text.size()) + "\":" + value + ",";
    }
    return text + R"("last":)" + value;
}

struct Document
{
    const char* name;
    std::string (*ofLength)(size_t length);
};

void PrintTo(const Document& document, std::ostream* out)
{
    *out << document.name;
}

class CostOfADocument : public StoreTest,
                        public testing::WithParamInterface<Document>
{
  public:
    /** A load, and if it works a get, a set and the release. */
    Cost costOf(size_t length) const
    {
        support::writeFile(document, GetParam().ofLength(length));
        cost.allocations = 0;
        cost.mostBytes = cost.bytes;
        const size_t before = cost.bytes;
        if (const Handle config = load())
        {
            char buffer[256] = "";
            json_config_get_string(config.get(), "a", "last", buffer,
                                   sizeof(buffer));
            json_config_set_string(config.get(), "a", "new", "value");
        }
        return {cost.allocations, 0, cost.mostBytes - before};
    }
};

TEST_P(CostOfADocument, GrowsWithItsLengthAndNoFaster)
{
    const Cost once = costOf(mebibyte / 4);
    const Cost eightfold = costOf(2 * mebibyte);
    EXPECT_GT(once.allocations, 0U);
    EXPECT_GT(once.mostBytes, 0U);
    // A container that doubles its room may be just below or above a step, and
    // what grows with the square costs 64 times as much.
    EXPECT_LT(eightfold.allocations, once.allocations * 15);
    EXPECT_LT(eightfold.mostBytes, once.mostBytes * 15);
}

class CostOfARefusal : public CostOfADocument
{
};

TEST_P(CostOfARefusal, IsHardlyMoreThanReadingTheFile)
{
    EXPECT_LT(costOf(mebibyte).mostBytes, 2 * mebibyte);
}

const auto nameOf = [](const auto& document) { return document.param.name; };

const auto refused = testing::Values(
    Document{"Brackets", [](size_t n) { return std::string(n, '['); }},
    Document{"Braces", [](size_t n) { return times(n / 5, R"({"a":)"); }},
    Document{"Zeros", [](size_t n) { return std::string(n, '\0'); }},
    Document{"Blanks", [](size_t n) { return std::string(n, ' '); }},
    Document{"ItemTwice",
             [](size_t n) { return times(n / 11, R"({"a":1,"a":)"); }});

INSTANTIATE_TEST_SUITE_P(Refused, CostOfADocument, refused, nameOf);
INSTANTIATE_TEST_SUITE_P(Refused, CostOfARefusal, refused, nameOf);

INSTANTIATE_TEST_SUITE_P(
    Read, CostOfADocument,
    testing::Values(
        Document{"LongString",
                 [](size_t n) {
                     return R"({"a":{"last":")" + std::string(n, 'x') +
                            R"("}})";
                 }},
        Document{"LongKey",
                 [](size_t n) {
                     return R"({"a":{")" + std::string(n, 'x') + R"(":1}})";
                 }},
        Document{"Escapes",
                 [](size_t n) {
                     return R"({"a":{"last":")" + times(n / 6, R"(\u20ac)") +
                            R"("}})";
                 }},
        Document{"Items",
                 [](size_t n) {
                     return R"({"a":{)" + members(n, R"("value")") + "}}";
                 }},
        Document{"Sections",
                 [](size_t n) { return "{" + members(n, "{}") + "}"; }},
        Document{"Numbers",
                 [](size_t n) {
                     return R"({"a":{"list":[)" + times(n / 2, "1,") + "1]}}";
                 }},
        Document{"Lists",
                 [](size_t n) {
                     return R"({"a":{"list":[)" + times(n / 3, "[],") + "[]]}}";
                 }}),
    nameOf);

} // namespace
