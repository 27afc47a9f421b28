// SPDX-License-Identifier: Apache-2.0
#include "terminal.hpp"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace demo
{

namespace
{

bool isSet(const char* variable)
{
    const char* const value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

bool isDumb()
{
    const char* const kind = std::getenv("TERM");
    return kind == nullptr || std::string_view(kind) == "dumb";
}

std::size_t columnsOfTerminal()
{
    constexpr std::size_t usual = 80;
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
    {
        return usual;
    }
    return std::clamp<std::size_t>(size.ws_col, 40, 120);
}

const char* codeOf(Tone tone)
{
    switch (tone)
    {
        case Tone::plain:
            return "";
        case Tone::strong:
            return "\033[1m";
        case Tone::faint:
            return "\033[2m";
        case Tone::good:
            return "\033[32m";
        case Tone::bad:
            return "\033[1;31m";
    }
    return "";
}

} // namespace

Terminal::Terminal() :
    coloured(isatty(STDOUT_FILENO) == 1 && !isDumb() && !isSet("NO_COLOR")),
    columns(columnsOfTerminal())
{
}

std::size_t Terminal::width() const
{
    return columns;
}

std::string Terminal::toned(Tone tone, const std::string& text) const
{
    return coloured && tone != Tone::plain ? codeOf(tone) + text + "\033[0m"
                                           : text;
}

std::vector<std::string> wrapped(const std::string& text, std::size_t columns)
{
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (text.size() - start > columns)
    {
        const auto blank = text.rfind(' ', start + columns);
        const bool usable = blank != std::string::npos && blank > start;
        const auto end = usable ? blank : start + columns;
        lines.push_back(text.substr(start, end - start));
        start = usable ? end + 1 : end;
    }
    lines.push_back(text.substr(start));
    return lines;
}

std::string padded(std::string text, std::size_t columns)
{
    text.resize(std::max(text.size(), columns), ' ');
    return text;
}

} // namespace demo
