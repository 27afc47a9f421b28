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

/** What the other columns leave. */
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

void printRow(const Terminal& terminal, const Row& row)
{
    const bool good = row.isAsExpected();
    const auto columns = expectedColumns(terminal);
    auto expected = wrapped(row.expected, columns - 1);
    auto seen = wrapped(good ? "as expected" : row.seen, seenColumns);
    const auto height = std::max(expected.size(), seen.size());
    expected.resize(height);
    seen.resize(height);

    std::string head = padded(std::to_string(row.step), stepColumns) +
                       padded(row.place, placeColumns);
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

bool allAsExpected(const std::vector<Row>& rows)
{
    return !rows.empty() && std::ranges::all_of(rows, &Row::isAsExpected);
}

void printTable(const Terminal& terminal, const std::vector<Row>& rows)
{
    printHead(terminal);
    for (const auto& row : rows)
    {
        printRow(terminal, row);
    }
}

void printSum(const Terminal& terminal, const std::vector<Row>& rows)
{
    const auto good = std::ranges::count_if(rows, &Row::isAsExpected);
    std::string sum = std::to_string(good) + " of " +
                      std::to_string(rows.size()) + " as expected";
    if (allAsExpected(rows))
    {
        sum += ", and nothing else happened on disk, bus or journal";
    }
    std::cout << std::string(terminal.width(), '-') << '\n';
    for (const auto& line : wrapped(sum + '.', terminal.width()))
    {
        const Tone tone = allAsExpected(rows) ? Tone::good : Tone::bad;
        std::cout << terminal.toned(tone, line) << '\n';
    }
}

} // namespace demo
