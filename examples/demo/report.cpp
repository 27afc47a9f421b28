// SPDX-License-Identifier: Apache-2.0
#include "report.hpp"

#include <algorithm>
#include <iostream>
#include <string_view>

namespace demo
{

namespace
{

constexpr std::size_t indentColumns = 4;
constexpr std::size_t placeColumns = 9;
constexpr std::size_t headColumns = indentColumns + placeColumns;

Tone toneOfChange(const std::string& line)
{
    return line.starts_with("+ ")   ? Tone::good
           : line.starts_with("- ") ? Tone::bad
                                    : Tone::faint;
}

/** Shortens a text in the middle: its end says as much as its beginning. */
std::string clipped(const std::string& text, std::size_t columns)
{
    constexpr std::string_view mark = "...";
    if (text.size() <= columns)
    {
        return text;
    }
    const auto kept = columns - mark.size();
    const auto atEnd = kept / 2;
    return text.substr(0, kept - atEnd) + std::string(mark) +
           text.substr(text.size() - atEnd);
}

} // namespace

Report::Report(Detail ofReport) : detail(ofReport)
{
}

void Report::begin(const std::string& title)
{
    print(title);
}

void Report::beginScenario(const std::string& title)
{
    const std::string line = clipped(title, terminal.width());
    std::cout << '\n'
              << terminal.toned(Tone::strong, line) << '\n'
              << std::string(line.size(), '-') << '\n';
}

void Report::beginStep(std::size_t number, const std::string& title)
{
    effects.clear();
    if (detail == Detail::everything)
    {
        std::cout << '\n';
    }
    std::string head = padded(std::to_string(number) + '.', indentColumns);
    for (const auto& line : wrapped(title, terminal.width() - indentColumns))
    {
        std::cout << head << terminal.toned(Tone::strong, line) << '\n';
        head.assign(head.size(), ' ');
    }
}

void Report::show(const std::string& place, const std::string& text)
{
    if (detail == Detail::everything)
    {
        print(place, text);
    }
    if (place != "request")
    {
        effects.push_back({place, text});
    }
}

void Report::print(const std::string& text) const
{
    for (const auto& line : wrapped(text, terminal.width()))
    {
        std::cout << line << '\n';
    }
}

void Report::print(const std::string& place, const std::string& text,
                   Tone tone) const
{
    std::string head =
        std::string(indentColumns, ' ') + padded(place, placeColumns);
    const auto columns = terminal.width() - head.size();
    for (const auto& line : wrapped(text, columns))
    {
        std::cout << terminal.toned(Tone::faint, head)
                  << terminal.toned(tone, line) << '\n';
        head.assign(head.size(), ' ');
    }
}

void Report::showChangedLine(const std::string& line)
{
    if (detail == Detail::everything)
    {
        print("", "  " + line, toneOfChange(line));
    }
}

void Report::endStep(const std::vector<Comparison>& comparisons)
{
    if (detail == Detail::brief)
    {
        printEffects();
    }
    for (const auto& comparison : comparisons)
    {
        if (!comparison.isAsExpected())
        {
            print("EXPECTED", comparison.place + ": " + comparison.expected,
                  Tone::bad);
            print("SEEN", comparison.place + ": " + comparison.seen, Tone::bad);
        }
    }
}

/** One line: the first entry of the most important kind, and how many more
 *  entries there were. */
void Report::printEffects() const
{
    for (const std::string_view place : {"bus", "disk", "journal", "service"})
    {
        const auto first = std::ranges::find(effects, place, &Effect::place);
        if (first == effects.end())
        {
            continue;
        }
        const auto others = effects.size() - 1;
        const std::string more =
            others == 0 ? "" : " (+ " + std::to_string(others) + ')';
        const auto columns = terminal.width() - headColumns - more.size();
        print(first->place, clipped(first->text, columns) + more);
        return;
    }
}

void Report::end(const std::vector<Comparison>& comparisons)
{
    if (detail == Detail::everything)
    {
        printTable(terminal, comparisons);
    }
    printSum(terminal, comparisons);
    if (detail == Detail::brief)
    {
        print("(+ N): that much more was seen in the step. --verbose shows "
              "everything.");
    }
}

} // namespace demo
