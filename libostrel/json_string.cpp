// SPDX-License-Identifier: Apache-2.0
#include "json_string.hpp"

#include "errors.hpp"

#include <algorithm>
#include <bit>
#include <charconv>
#include <optional>

namespace ostrel
{

namespace
{

// The slash may be escaped, and need not be.
constexpr std::string_view escapeLetters = R"("\bfnrt/)";
constexpr std::string_view escapedBytes = "\"\\\b\f\n\r\t/";

constexpr char32_t firstSurrogate = 0xD800;
constexpr char32_t firstLowSurrogate = 0xDC00;
constexpr char32_t behindSurrogates = 0xE000;
constexpr char32_t lastCharacter = 0x10FFFF;

constexpr size_t lengthOfUnicodeEscape = 6;

bool isSurrogate(char32_t unit)
{
    return unit >= firstSurrogate && unit < behindSurrogates;
}

bool isControl(char byte)
{
    return static_cast<unsigned char>(byte) < ' ';
}

bool isContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/** The length of the UTF-8 character that a text starts with, or 0. */
size_t characterLength(std::string_view text)
{
    // By length: the first character that needs so many bytes.
    constexpr std::array<char32_t, 5> first{0, 0, 0x80, 0x800, 0x10000};
    const auto lead = static_cast<unsigned char>(text.front());
    const auto length = static_cast<size_t>(std::countl_one(lead));
    if (length == 0)
    {
        return 1;
    }
    if (length == 1 || length >= first.size() || length > text.size())
    {
        return 0;
    }
    char32_t character = lead & (0x7FU >> length);
    for (size_t at = 1; at < length; ++at)
    {
        if (!isContinuation(text[at]))
        {
            return 0;
        }
        character =
            character << 6U | (static_cast<unsigned char>(text[at]) & 0x3FU);
    }
    const bool isValid = character >= first[length] &&
                         character <= lastCharacter && !isSurrogate(character);
    return isValid ? length : 0;
}

Character toUtf8(char32_t character)
{
    const size_t length = character < 0x80      ? 1
                          : character < 0x800   ? 2
                          : character < 0x10000 ? 3
                                                : 4;
    Character utf8{{}, length};
    for (size_t at = length - 1; at > 0; --at)
    {
        utf8.bytes[at] = static_cast<char>(0x80U | (character & 0x3FU));
        character >>= 6U;
    }
    // A lead byte starts with as many ones as the character has bytes.
    const char32_t lead = length == 1 ? 0 : 0xF00U >> length;
    utf8.bytes[0] = static_cast<char>(lead | character);
    return utf8;
}

/** The code unit of an escape like \u0041 that a text starts with. */
std::optional<char32_t> codeUnit(std::string_view text)
{
    if (text.size() < lengthOfUnicodeEscape || !text.starts_with("\\u"))
    {
        return std::nullopt;
    }
    std::uint16_t unit = 0;
    const char* const end = text.data() + lengthOfUnicodeEscape;
    const bool isHex =
        std::from_chars(text.data() + 2, end, unit, 16).ptr == end;
    return isHex ? std::optional<char32_t>(unit) : std::nullopt;
}

struct SpelledCharacter
{
    /** Of the spelling; 0 when it is not valid. */
    size_t length;
    Character character;
};

/** Reads the escape that a text starts with; two of them where surrogates make
 *  a pair. A surrogate alone is not valid. */
SpelledCharacter readEscape(std::string_view text)
{
    const size_t letter =
        text.size() < 2 ? std::string_view::npos : escapeLetters.find(text[1]);
    if (letter != std::string_view::npos)
    {
        return {2, {{escapedBytes[letter]}, 1}};
    }
    const auto unit = codeUnit(text);
    if (!unit)
    {
        return {};
    }
    if (!isSurrogate(*unit))
    {
        return {lengthOfUnicodeEscape, toUtf8(*unit)};
    }
    text.remove_prefix(lengthOfUnicodeEscape);
    const auto low = codeUnit(text);
    if (*unit >= firstLowSurrogate || !low || !isSurrogate(*low) ||
        *low < firstLowSurrogate)
    {
        return {};
    }
    return {2 * lengthOfUnicodeEscape,
            toUtf8(0x10000 + ((*unit - firstSurrogate) << 10U) +
                   (*low - firstLowSurrogate))};
}

SpelledCharacter readCharacter(std::string_view text)
{
    if (text.front() == '\\')
    {
        return readEscape(text);
    }
    if (isControl(text.front()))
    {
        return {};
    }
    SpelledCharacter read{characterLength(text), {}};
    read.character.length = text.copy(read.character.bytes.data(), read.length);
    return read;
}

/** The bytes that stand for themselves and are a whole character. */
constexpr auto plainBytes = [] {
    std::array<bool, 256> plain{};
    for (size_t byte = ' '; byte < 0x80; ++byte)
    {
        plain[byte] = byte != '"' && byte != '\\';
    }
    return plain;
}();

bool isPlain(char byte)
{
    return plainBytes[static_cast<unsigned char>(byte)];
}

/** The first byte that is not plain; the NUL behind a text is not. */
const char* endOfPlain(const char* at)
{
    while (isPlain(at[0]) && isPlain(at[1]) && isPlain(at[2]) && isPlain(at[3]))
    {
        at += 4;
    }
    while (isPlain(*at))
    {
        ++at;
    }
    return at;
}

/** Goes on reading a spelling where something stands that is not plain. Apart
 *  from what most spellings need, so that those do not pay for it. */
[[gnu::noinline]] Spelling readRest(std::string_view json, const char* at)
{
    bool hasEscapes = false;
    const char* const end = json.data() + json.size();
    while (*at != '"')
    {
        const size_t length = at == end ? 0 : readCharacter({at, end}).length;
        if (length == 0)
        {
            return {};
        }
        hasEscapes |= *at == '\\';
        at = endOfPlain(at + length);
    }
    return {static_cast<size_t>(at + 1 - json.data()), hasEscapes};
}

} // namespace

Spelling readSpelling(std::string_view json) noexcept
{
    const char* const end = endOfPlain(&json.front() + 1);
    return *end == '"'
               ? Spelling{static_cast<size_t>(end + 1 - json.data()), false}
               : readRest(json, end);
}

Pieces::Pieces(std::string_view spelling) noexcept :
    rest(spelling.data() + 1, spelling.size() - 2)
{
}

std::string_view Pieces::next() noexcept
{
    if (rest.starts_with('\\'))
    {
        const SpelledCharacter read = readCharacter(rest);
        rest.remove_prefix(read.length);
        escaped = read.character;
        return {escaped.bytes.data(), escaped.length};
    }
    const std::string_view piece = rest.substr(0, rest.find('\\'));
    rest.remove_prefix(piece.size());
    return piece;
}

bool spells(std::string_view spelling, std::string_view text) noexcept
{
    const std::string_view inner(spelling.data() + 1, spelling.size() - 2);
    // An escape is longer than what it stands for.
    if (inner.size() <= text.size())
    {
        return inner == text && inner.find('\\') == std::string_view::npos;
    }
    Pieces pieces(spelling);
    for (auto piece = pieces.next(); !piece.empty(); piece = pieces.next())
    {
        if (!text.starts_with(piece))
        {
            return false;
        }
        text.remove_prefix(piece.size());
    }
    return text.empty();
}

int compareTexts(std::string_view left, std::string_view right) noexcept
{
    Pieces leftPieces(left);
    Pieces rightPieces(right);
    std::string_view a;
    std::string_view b;
    for (;;)
    {
        a = a.empty() ? leftPieces.next() : a;
        b = b.empty() ? rightPieces.next() : b;
        const size_t length = std::min(a.size(), b.size());
        const int order = a.compare(0, length, b, 0, length);
        if (length == 0 || order != 0)
        {
            return length == 0 ? a.compare(b) : order;
        }
        a.remove_prefix(length);
        b.remove_prefix(length);
    }
}

size_t copyText(std::string_view spelling, char* buffer, size_t size) noexcept
{
    size_t copied = 0;
    bool fits = true;
    Pieces pieces(spelling);
    for (auto piece = pieces.next(); fits && !piece.empty();
         piece = pieces.next())
    {
        size_t length = std::min(piece.size(), size - copied);
        fits = length == piece.size();
        while (!fits && isContinuation(piece[length]))
        {
            --length;
        }
        copied += piece.copy(buffer + copied, length);
    }
    return copied;
}

std::string quoted(std::string_view text)
{
    constexpr std::string_view hexDigits = "0123456789abcdef";
    std::string spelling = "\"";
    while (!text.empty())
    {
        const size_t length = characterLength(text);
        require(length != 0, EILSEQ);
        const size_t letter = escapedBytes.find(text.front());
        if (letter < escapedBytes.find('/'))
        {
            spelling += '\\';
            spelling += escapeLetters[letter];
        }
        else if (isControl(text.front()))
        {
            const auto byte = static_cast<unsigned char>(text.front());
            spelling += "\\u00";
            spelling += hexDigits[byte >> 4U];
            spelling += hexDigits[byte & 0xFU];
        }
        else
        {
            spelling += text.substr(0, length);
        }
        text.remove_prefix(length);
    }
    return spelling + '"';
}

} // namespace ostrel
