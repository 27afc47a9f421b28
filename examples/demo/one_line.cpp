// SPDX-License-Identifier: Apache-2.0
#include "one_line.hpp"

#include <string_view>

namespace demo
{

namespace
{

void replaceAll(std::string& text, std::string_view old, std::string_view now)
{
    for (auto at = text.find(old); at != std::string::npos;
         at = text.find(old, at + now.size()))
    {
        text.replace(at, old.size(), now);
    }
}

std::string fieldOf(const support::JournalRecord& record, const char* field)
{
    const auto found = record.find(field);
    return found == record.end() ? "" : found->second;
}

std::string nameOfPriority(const std::string& priority)
{
    return priority == "3" ? "error" : priority == "6" ? "info" : priority;
}

/** The arguments of a property call without quotes around the two names. */
std::string withoutNameQuotes(std::string arguments)
{
    for (int quotes = 0; quotes < 4; ++quotes)
    {
        if (const auto at = arguments.find('"'); at != std::string::npos)
        {
            arguments.erase(at, 1);
        }
    }
    return arguments;
}

} // namespace

std::string shortened(std::string text)
{
    replaceAll(text, "xyz.openbmc_project.", "~");
    replaceAll(text, "/xyz/openbmc_project", "~");
    return text;
}

std::string oneLine(const support::RecordedCall& call)
{
    std::string line = call.destination + ' ' + call.path + ' ';
    if (call.interface == "org.freedesktop.DBus.Properties")
    {
        line += call.member + ' ' + withoutNameQuotes(call.arguments);
    }
    else
    {
        line += call.interface + '.' + call.member + '(' + call.arguments + ')';
    }
    return shortened(std::move(line));
}

std::string oneLine(const support::JournalRecord& record)
{
    return nameOfPriority(fieldOf(record, "PRIORITY")) + ": " +
           fieldOf(record, "MESSAGE");
}

std::vector<std::string> folded(const std::vector<std::string>& lines)
{
    std::vector<std::string> shown;
    std::string stem;
    for (const auto& line : lines)
    {
        const auto lastWord = line.rfind(' ') + 1;
        const std::string stemOfLine = line.substr(0, lastWord);
        if (!shown.empty() && stemOfLine == stem)
        {
            shown.back() += ", " + line.substr(lastWord);
        }
        else
        {
            shown.push_back(line);
        }
        stem = stemOfLine;
    }
    return shown;
}

} // namespace demo
