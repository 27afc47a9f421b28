// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json_tokens.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <string_view>
#include <vector>

namespace ostrel
{

/**
 * Finds keys that an object has more than once, compared by the texts that
 * they stand for. Takes n log n steps for n keys, however they are chosen.
 */
class DuplicateKeys
{
  public:
    /**
     * @param json          outlives the object; a NUL stands behind it
     * @param expectedKeys  a guess; it may be wrong
     * @throws std::bad_alloc
     */
    DuplicateKeys(std::string_view json, size_t expectedKeys);

    /**
     * Takes the tokens of the text in their order.
     * @throws std::bad_alloc
     */
    void take(const Token& token)
    {
        if (token.kind == TokenKind::key)
        {
            keys.push_back(read(token));
        }
        else if (token.kind == TokenKind::objectStart)
        {
            around.push_back(static_cast<std::uint32_t>(keys.size()));
        }
        else if (token.kind == TokenKind::objectEnd)
        {
            endObject();
        }
    }

    /** Where the duplicates start that the objects ended so far have: of the
     *  keys that are the same, each but the first. */
    [[nodiscard]] const std::vector<std::uint32_t>& places() const noexcept;

  private:
    /** Fingerprint and length are the same for the same text. */
    struct Key
    {
        std::uint32_t fingerprint;
        /** Of the text. */
        std::uint32_t length;
        std::uint32_t start;
    };

    using Bytes = std::array<char, sizeof(std::uint32_t)>;

    /** A fingerprint of the first and the last bytes of a key. */
    static std::uint32_t mixed(const Bytes& first, const Bytes& last) noexcept
    {
        constexpr std::uint32_t odd = 0x9E3779B1;
        return std::bit_cast<std::uint32_t>(first) * odd ^
               std::bit_cast<std::uint32_t>(last);
    }

    [[nodiscard]] Key read(const Token& key) const noexcept
    {
        Bytes first{};
        Bytes last{};
        const std::string_view spelling = key.place.of(text);
        if (key.hasEscapes || spelling.size() < first.size() + 2)
        {
            return decode(key.place);
        }
        std::copy_n(&spelling.front() + 1, first.size(), first.data());
        std::copy_n(&spelling.back() - last.size(), last.size(), last.data());
        return {mixed(first, last), key.place.length - 2, key.place.start};
    }

    [[nodiscard]] Key decode(Span key) const noexcept;
    [[nodiscard]] int compare(const Key& left, const Key& right) const noexcept;
    [[nodiscard]] bool isBefore(const Key& left,
                                const Key& right) const noexcept;
    void endObject();

    std::string_view text;
    /** Of the objects that are open, from the outermost on. */
    std::vector<Key> keys;
    /** The number of keys around each of these objects. */
    std::vector<std::uint32_t> around;
    std::vector<std::uint32_t> duplicates;
};

} // namespace ostrel
