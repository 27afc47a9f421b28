// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

namespace ostrel
{

enum class TokenKind : std::uint8_t
{
    objectStart,
    objectEnd,
    arrayStart,
    arrayEnd,
    key,    //!< in its quotes; the colon behind it is checked, and is no token
    string, //!< in its quotes
    number,
    word,   //!< true, false or null
    end,    //!< behind the last token, and at each call after it
    mistake //!< where the text stops being JSON, and at each call after it
};

/** A piece of a text, in bytes. Of 32 bits, to save memory. */
struct Span
{
    /** A longer text has no tokens. */
    static constexpr size_t longestText =
        std::numeric_limits<std::uint32_t>::max();

    std::uint32_t start;
    std::uint32_t length;

    [[nodiscard]] std::string_view of(std::string_view text) const noexcept
    {
        return {text.data() + start, length};
    }
};

struct Token
{
    TokenKind kind;
    /** Of a key or a string. */
    bool hasEscapes;
    /** Empty for the end and a mistake. */
    Span place;
};

/**
 * The tokens of a JSON text (RFC 8259), in their order. Strict: the text is in
 * UTF-8 without a byte order mark, and nothing but blanks stands behind its
 * value. A number may be of any size. DuplicateKeys finds duplicate keys.
 *
 * Nothing is allocated or copied.
 */
class Tokens
{
  public:
    /** Deeper is a mistake. */
    static constexpr size_t mostLevels = 2048;

    /**
     * @param json  outlives the object, is not longer than Span::longestText,
     *              and a NUL stands behind it, as behind a std::string; or it
     *              is a value within such a text, up to whose end is read
     */
    explicit Tokens(std::string_view json) noexcept;

    Token next() noexcept;

    /** How many objects and arrays are open behind the last token. */
    [[nodiscard]] size_t depth() const noexcept
    {
        return levels;
    }

  private:
    enum class Expected : std::uint8_t
    {
        value,
        key,
        firstOrEnd,
        commaOrEnd,
        nothing
    };

    [[nodiscard]] std::uint32_t position() const noexcept
    {
        return static_cast<std::uint32_t>(at - start);
    }

    void skipBlanks() noexcept;
    Token key() noexcept;
    Token string(TokenKind kind) noexcept;
    Token other() noexcept;
    Token open(TokenKind kind) noexcept;
    Token close() noexcept;
    Token stop(TokenKind kind) noexcept;

    /** A token of no length is a mistake. */
    Token take(TokenKind kind, size_t length, bool hasEscapes = false) noexcept
    {
        if (length == 0)
        {
            return stop(TokenKind::mistake);
        }
        const Span place{position(), static_cast<std::uint32_t>(length)};
        at += length;
        expected = Expected::commaOrEnd;
        return {kind, hasEscapes, place};
    }

    const char* start;
    const char* at;
    const char* end;
    Expected expected = Expected::value;
    /** What comes when nothing is expected: end or mistake. */
    TokenKind ending = TokenKind::end;
    size_t levels = 0;
    bool inObject = false;
    /** Of the objects and arrays around the innermost: which are objects. */
    std::bitset<mostLevels> isObject;
};

} // namespace ostrel
