// SPDX-License-Identifier: Apache-2.0
#include "journal_record.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <utility>

namespace support
{

namespace
{

using Field = std::pair<std::string, std::string>;

constexpr std::size_t lengthBytes = 8;

/** Checks a name as the journal checks the names that clients send. */
bool validName(std::string_view name)
{
    const auto allowed = [](char c) {
        return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
    };
    return !name.empty() && name.size() <= 64 && name.front() > '9' &&
           name.front() != '_' && std::ranges::all_of(name, allowed);
}

std::string_view cut(std::string_view& text, std::size_t count)
{
    const std::string_view head = text.substr(0, count);
    text.remove_prefix(count);
    return head;
}

std::string cutCounted(std::string_view& rest)
{
    if (rest.size() < lengthBytes)
    {
        throw std::invalid_argument("a length is cut off");
    }
    std::uint64_t claimed = 0;
    for (std::size_t i = lengthBytes; i-- > 0;)
    {
        claimed = claimed << 8 | static_cast<unsigned char>(rest[i]);
    }
    rest.remove_prefix(lengthBytes);
    const auto length =
        static_cast<std::size_t>(std::min<std::uint64_t>(claimed, rest.size()));
    if (length == rest.size() || rest[length] != '\n')
    {
        throw std::invalid_argument("a value does not end where it says");
    }
    std::string value(cut(rest, length));
    rest.remove_prefix(1);
    return value;
}

/** Removes the first field from the rest and returns it. */
Field cutField(std::string_view& rest)
{
    const std::size_t end = rest.find('\n');
    if (end == std::string_view::npos)
    {
        throw std::invalid_argument("a line does not end");
    }
    const std::string_view line = cut(rest, end);
    rest.remove_prefix(1);
    const std::size_t equals = line.find('=');
    const std::string name(line.substr(0, equals));
    if (!validName(name))
    {
        throw std::invalid_argument("not a field name: '" + name + "'");
    }
    if (equals == std::string_view::npos)
    {
        return {name, cutCounted(rest)};
    }
    return {name, std::string(line.substr(equals + 1))};
}

} // namespace

JournalRecord parseJournalRecord(std::string_view datagram)
{
    JournalRecord record;
    try
    {
        if (datagram.empty())
        {
            throw std::invalid_argument("no field at all");
        }
        while (!datagram.empty())
        {
            Field field = cutField(datagram);
            const auto [place, fresh] = record.insert(std::move(field));
            if (!fresh)
            {
                throw std::invalid_argument("a field twice: " + place->first);
            }
        }
    }
    catch (const std::invalid_argument& e)
    {
        record[malformedField] = e.what();
    }
    return record;
}

} // namespace support
