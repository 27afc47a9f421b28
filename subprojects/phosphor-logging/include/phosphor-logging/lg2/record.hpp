// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <systemd/sd-journal.h>

#include <sys/uio.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <source_location>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace lg2
{
inline namespace fenmarch_subset
{
namespace details
{

/** A field of a record: its name and its value. */
using Field = std::pair<std::string, std::string>;

/** The text with the first {KEY} of each field replaced by its value. */
inline std::string filledIn(std::string text, std::span<const Field> fields)
{
    for (const auto& [key, value] : fields)
    {
        const std::string placeholder = "{" + key + "}";
        const std::size_t at = text.find(placeholder);
        if (at != std::string::npos)
        {
            text.replace(at, placeholder.size(), value);
        }
    }
    return text;
}

/** Sends "NAME=value" lines as one record. The result is ignored: a caller
 *  could do nothing about a journal that does not accept the record. */
inline void sendToJournal(std::vector<std::string>& lines)
{
    std::vector<iovec> parts;
    for (std::string& line : lines)
    {
        parts.push_back({line.data(), line.size()});
    }
    // In parentheses, because a macro of this name would add the location of
    // this line instead of the caller's.
    (sd_journal_sendv)(parts.data(), static_cast<int>(parts.size()));
}

inline bool findOutAboutStandardError()
{
    return isatty(STDERR_FILENO) == 1 ||
           std::getenv("LG2_FORCE_STDERR") != nullptr;
}

/** Decided once, as in the package: a later change of the environment or of
 *  standard error does not count. */
inline const bool standardErrorIsWanted = findOutAboutStandardError();

inline void copyToStandardError(int priority, const std::string& message)
{
    const std::string line =
        '<' + std::to_string(priority) + "> " + message + '\n';
    // There is no further place to report that this one failed.
    static_cast<void>(std::fputs(line.c_str(), stderr));
}

/**
 * Sends one record to the journal, and a copy to standard error if that is
 * wanted.
 *
 * @param texts  each name of a field before its value; the texts are moved from
 */
inline void log(int priority, const std::string& text,
                std::span<std::string> texts, const std::source_location& where)
{
    std::vector<Field> fields;
    for (std::size_t at = 0; at < texts.size(); at += 2)
    {
        fields.emplace_back(std::move(texts[at]), std::move(texts[at + 1]));
    }
    const std::string message = filledIn(text, fields);

    std::vector<std::string> lines{
        "MESSAGE=" + message,
        "LOG2_FMTMSG=" + text,
        "PRIORITY=" + std::to_string(priority),
        std::string("CODE_FILE=") + where.file_name(),
        "CODE_LINE=" + std::to_string(where.line()),
        std::string("CODE_FUNC=") + where.function_name(),
    };
    for (const auto& [key, value] : fields)
    {
        lines.push_back(key + "=" + value);
    }
    sendToJournal(lines);

    if (standardErrorIsWanted)
    {
        copyToStandardError(priority, message);
    }
}

} // namespace details
} // namespace fenmarch_subset
} // namespace lg2
