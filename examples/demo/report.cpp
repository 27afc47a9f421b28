#include "report.hpp"

#include <algorithm>
#include <iostream>

namespace demo
{

namespace
{

constexpr std::size_t indentColumns = 4;
constexpr std::size_t placeColumns = 9;

std::string bar(int percent)
{
    constexpr int cells = 40;
    const auto filled =
        static_cast<std::size_t>(std::clamp(percent, 0, 100) * cells / 100);
    return '[' + padded(std::string(filled, '#'), cells) + "] " +
           std::to_string(percent) + " %";
}

Tone toneOfChange(const std::string& line)
{
    return line.starts_with("+ ")   ? Tone::good
           : line.starts_with("- ") ? Tone::bad
                                    : Tone::faint;
}

} // namespace

void Report::beginScenario(const std::string& title)
{
    std::cout << '\n'
              << terminal.toned(Tone::strong, title) << '\n'
              << std::string(title.size(), '-') << '\n';
}

void Report::beginStep(std::size_t number, const std::string& title)
{
    std::cout << '\n'
              << padded(std::to_string(number) + '.', indentColumns)
              << terminal.toned(Tone::strong, title) << '\n';
}

void Report::show(const std::string& place, const std::string& text, Tone tone)
{
    finishBar();
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
    show("", "  " + line, toneOfChange(line));
}

void Report::showProgress(int percent)
{
    barPercent = percent;
    if (terminal.isInteractive())
    {
        std::cout << '\r' << std::string(indentColumns + placeColumns, ' ')
                  << terminal.toned(Tone::good, bar(percent)) << std::flush;
    }
}

void Report::finishBar()
{
    if (!barPercent)
    {
        return;
    }
    if (!terminal.isInteractive())
    {
        std::cout << std::string(indentColumns + placeColumns, ' ')
                  << bar(*barPercent);
    }
    std::cout << '\n';
    barPercent.reset();
}

void Report::endStep(const std::vector<Row>& rows)
{
    finishBar();
    for (const auto& row : rows)
    {
        if (!row.isAsExpected())
        {
            show("EXPECTED", row.place + ": " + row.expected, Tone::bad);
            show("SEEN", row.place + ": " + row.seen, Tone::bad);
        }
    }
}

void Report::showTable(const std::vector<Row>& rows)
{
    printTable(terminal, rows);
}

} // namespace demo
