#pragma once

#include <phosphor-logging/lg2/location.hpp>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace lg2
{
inline namespace fenmarch_subset
{
namespace details
{

inline bool standardErrorIsWanted()
{
    return isatty(STDERR_FILENO) == 1 ||
           std::getenv("LG2_FORCE_STDERR") != nullptr;
}

/** What stands for %specifier in LG2_FORMAT; an unknown one stays. */
inline std::string expansion(char specifier, int priority,
                             const std::string& message, const Location& where)
{
    switch (specifier)
    {
        case 'l':
            return std::to_string(priority);
        case 'm':
            return message;
        case 'f':
            return where.function_name();
        case 'F':
            return where.file_name();
        case 'L':
            return std::to_string(where.line());
        case '%':
            return "%";
        default:
            return {'%', specifier};
    }
}

/** Writes one line to standard error, in the form that LG2_FORMAT tells. */
inline void copyToStandardError(int priority, const std::string& message,
                                const Location& where)
{
    const char* wanted = std::getenv("LG2_FORMAT");
    const std::string_view format = wanted != nullptr ? wanted : "<%l> %m";

    std::string line;
    for (std::size_t at = 0; at < format.size(); ++at)
    {
        if (format[at] == '%' && at + 1 < format.size())
        {
            line += expansion(format[++at], priority, message, where);
        }
        else
        {
            line += format[at];
        }
    }
    line += '\n';
    // There is no third place to say that this one failed.
    static_cast<void>(std::fputs(line.c_str(), stderr));
}

} // namespace details
} // namespace fenmarch_subset
} // namespace lg2
