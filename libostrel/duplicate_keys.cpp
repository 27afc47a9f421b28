// SPDX-License-Identifier: Apache-2.0
#include "duplicate_keys.hpp"

#include "json_string.hpp"

#include <algorithm>
#include <bit>

namespace ostrel
{

DuplicateKeys::DuplicateKeys(std::string_view json, size_t expectedKeys) :
    text(json)
{
    keys.reserve(expectedKeys);
}

const std::vector<std::uint32_t>& DuplicateKeys::places() const noexcept
{
    return duplicates;
}

DuplicateKeys::Key DuplicateKeys::decode(Span key) const noexcept
{
    Bytes first{};
    Bytes last{};
    std::uint32_t length = 0;
    Pieces pieces(key.of(text));
    for (auto piece = pieces.next(); !piece.empty(); piece = pieces.next())
    {
        for (const char byte : piece)
        {
            if (length < first.size())
            {
                first[length] = byte;
            }
            last = {last[1], last[2], last[3], byte};
            ++length;
        }
    }
    return {mixed(first, last), length, key.start};
}

/** Compares keys of the same fingerprint, and their texts only where they have
 *  the same length: a long key that was read for each short one would cost the
 *  square of the text. */
int DuplicateKeys::compare(const Key& left, const Key& right) const noexcept
{
    if (left.length != right.length)
    {
        return left.length < right.length ? -1 : 1;
    }
    const auto spelling = [this](const Key& key) {
        std::string_view rest = text;
        rest.remove_prefix(key.start);
        return rest.substr(0, readSpelling(rest).length);
    };
    return compareTexts(spelling(left), spelling(right));
}

bool DuplicateKeys::isBefore(const Key& left, const Key& right) const noexcept
{
    const int order = compare(left, right);
    return order < 0 || (order == 0 && left.start < right.start);
}

void DuplicateKeys::endObject()
{
    const auto first =
        keys.begin() + static_cast<std::ptrdiff_t>(around.back());
    const auto end = keys.end();
    std::sort(first, end, [this](const Key& left, const Key& right) {
        return left.fingerprint != right.fingerprint
                   ? left.fingerprint < right.fingerprint
                   : isBefore(left, right);
    });
    const auto same = [this](const Key& left, const Key& right) {
        return left.fingerprint == right.fingerprint &&
               compare(left, right) == 0;
    };
    for (auto found = std::adjacent_find(first, end, same); found != end;
         found = std::adjacent_find(found + 1, end, same))
    {
        duplicates.push_back(found[1].start);
    }
    keys.erase(first, end);
    around.pop_back();
}

} // namespace ostrel
