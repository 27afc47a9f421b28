// SPDX-License-Identifier: Apache-2.0
#include "table.hpp"

#include <algorithm>
#include <iostream>

namespace demo
{

namespace
{

constexpr std::size_t stepColumns = 5;
constexpr std::size_t placeColumns = 9;
constexpr std::size_t seenColumns = 20;

/** The width that the other columns leave. */
std::size_t expectedColumns(const Terminal& terminal)
{
    return terminal.width() - stepColumns - placeColumns - seenColumns;
}

void printHead(const Terminal& terminal)
{
    const std::string head =
        padded("Step", stepColumns) + padded("Where", placeColumns) +
        padded("Expected", expectedColumns(terminal)) + "Seen";
    std::cout << '\n'
              << terminal.toned(Tone::strong, head) << '\n'
              << std::string(terminal.width(), '-') << '\n';
}

void printComparison(const Terminal& terminal, const Comparison& comparison)
{
    const bool good = comparison.isAsExpected();
    const auto columns = expectedColumns(terminal);
    auto expected = wrapped(comparison.expected, columns - 1);
    auto seen = wrapped(good ? "as expected" : comparison.seen, seenColumns);
    const auto height = std::max(expected.size(), seen.size());
    expected.resize(height);
    seen.resize(height);

    std::string head = padded(std::to_string(comparison.step), stepColumns) +
                       padded(comparison.place, placeColumns);
    for (std::size_t i = 0; i < height; ++i)
    {
        std::cout << head
                  << (seen[i].empty() ? expected[i]
                                      : padded(expected[i], columns))
                  << terminal.toned(good ? Tone::good : Tone::bad, seen[i])
                  << '\n';
        head.assign(head.size(), ' ');
    }
}

} // namespace

bool allAsExpected(const std::vector<Comparison>& comparisons)
{
    return !comparisons.empty() &&
           std::ranges::all_of(comparisons, &Comparison::isAsExpected);
}

void printTable(const Terminal& terminal,
                const std::vector<Comparison>& comparisons)
{
    printHead(terminal);
    for (const auto& comparison : comparisons)
    {
        printComparison(terminal, comparison);
    }
}

void printSum(const Terminal& terminal,
              const std::vector<Comparison>& comparisons)
{
    const auto good =
        std::ranges::count_if(comparisons, &Comparison::isAsExpected);
    std::string sum = std::to_string(good) + " of " +
                      std::to_string(comparisons.size()) + " as expected";
    if (allAsExpected(comparisons))
    {
        sum += ", and nothing else happened on disk, bus or journal";
    }
    std::cout << std::string(terminal.width(), '-') << '\n';
    for (const auto& line : wrapped(sum + '.', terminal.width()))
    {
        const Tone tone = allAsExpected(comparisons) ? Tone::good : Tone::bad;
        std::cout << terminal.toned(tone, line) << '\n';
    }
}

} // namespace demo
