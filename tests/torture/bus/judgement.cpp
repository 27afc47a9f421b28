// SPDX-License-Identifier: Apache-2.0
#include "judgement.hpp"

#include <map>

namespace torture::bus
{

namespace
{

using support::JournalRecord;

std::string shown(const std::string& text)
{
    constexpr size_t most = 160;
    return text.size() <= most ? text
                               : text.substr(0, most) + "... (" +
                                     std::to_string(text.size()) + " bytes)";
}

std::string shown(const std::vector<JournalRecord>& records)
{
    std::string text;
    for (const auto& record : records)
    {
        for (const auto& [field, value] : record)
        {
            text += field + "=" + shown(value) + "; ";
        }
    }
    return text;
}

std::string replaced(std::string text, const std::string& placeholder,
                     const std::string& value)
{
    const auto place = text.find(placeholder);
    return place == std::string::npos
               ? text
               : text.replace(place, placeholder.size(), value);
}

/** The one record of a failure; the platform determines the error's text. */
JournalRecord recordOf(const Operation& operation, const std::string& object,
                       const std::string& error)
{
    const std::string failure(operation.failure);
    const std::string field(operation.field);
    JournalRecord record{
        {"PRIORITY", "3"}, {"LOG2_FMTMSG", failure}, {"ERROR", error}};
    record["MESSAGE"] = replaced(failure, "{ERROR}", error);
    if (!field.empty())
    {
        record[field] = object;
        record["MESSAGE"] =
            replaced(record["MESSAGE"], "{" + field + "}", object);
    }
    return record;
}

/** The logged error if it begins as expected; otherwise the beginning. */
std::string completed(const std::string& beginning, const Seen& seen)
{
    for (const auto& record : seen.records)
    {
        const auto error = record.find("ERROR");
        if (error != record.end() && error->second.starts_with(beginning))
        {
            return error->second;
        }
    }
    return beginning;
}

std::string releaseFileAfter(const Operation& operation,
                             const std::string& text)
{
    std::map<std::string, std::string> lines{{"OTHER", "kept"}};
    if (!operation.releaseItem.empty())
    {
        lines[std::string(operation.releaseItem)] = text;
    }
    std::string content;
    for (const auto& [key, value] : lines)
    {
        content += key + "=\"" + value + "\"\n";
    }
    return content;
}

std::string propertyAfter(const Operation& operation, const Ending& ending)
{
    const std::string sent(operation.sent);
    switch (operation.column)
    {
        case Column::text:
            return sent + ending.sent;
        case Column::list:
            return sent + (ending.sent.empty() ? "1" : "2 " + ending.sent) +
                   " \"b\"";
        case Column::plain:
        case Column::get:
            break;
    }
    return sent.empty() ? "s \"held\"" : sent;
}

/** What must be seen; the platform's own texts are copied from what was. */
Seen wanted(const Seen& seen, const Operation& operation, const Ending& ending,
            const std::string& object, const std::string& text)
{
    Seen wanted{.returned = {},
                .left = "",
                .records = {},
                .releaseFile = releaseBefore,
                .property = "s \"held\""};
    switch (ending.kind)
    {
        case Ending::Kind::succeeds:
            wanted.returned.status = operation.failed.status.empty() ? "" : "0";
            wanted.returned.read =
                operation.column == Column::get ? ending.read : "";
            wanted.releaseFile = releaseFileAfter(operation, text);
            wanted.property = propertyAfter(operation, ending);
            break;
        case Ending::Kind::fails:
            wanted.returned = operation.failed;
            wanted.records = {
                recordOf(operation, object, completed(ending.error, seen))};
            break;
        case Ending::Kind::leaves:
            wanted.left =
                seen.left.starts_with(ending.error) ? seen.left : ending.error;
            break;
    }
    return wanted;
}

} // namespace

void judge(Report& report, const std::string& cell, const Seen& seen,
           const Operation& operation, const Ending& ending,
           const std::string& object, const std::string& text)
{
    const Seen want = wanted(seen, operation, ending, object, text);
    const auto compare = [&](const std::string& what, const auto& is,
                             const auto& should) {
        if (is != should)
        {
            report.loss(cell + ": " + what + ": " + shown(is) + ", not " +
                        shown(should));
        }
    };
    compare("status", seen.returned.status, want.returned.status);
    compare("text", seen.returned.read, want.returned.read);
    compare("exception", seen.left, want.left);
    compare("log", seen.records, want.records);
    compare("release file", seen.releaseFile, want.releaseFile);
    compare("property", seen.property.value_or(*want.property), *want.property);
    compare("messages held", std::to_string(seen.heldMessages),
            std::string("0"));
    compare("new descriptors", std::to_string(seen.openedDescriptors.size()),
            std::string("0"));
}

} // namespace torture::bus
