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

std::uint32_t
DuplicateKeys::decodedFingerprint(std::string_view spelling) noexcept
{
    Bytes first{};
    Bytes last{};
    size_t length = 0;
    Pieces pieces(spelling);
    for (auto piece = pieces.next(); !piece.empty(); piece = pieces.next())
    {
        for (const char byte : piece)
        {
            if (length < first.size())
            {
                first[length++] = byte;
            }
            last = {last[1], last[2], last[3], byte};
        }
    }
    return mixed(first, last);
}

int DuplicateKeys::compare(const Key& left, const Key& right) const noexcept
{
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
