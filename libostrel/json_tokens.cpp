// SPDX-License-Identifier: Apache-2.0
#include "json_tokens.hpp"

#include "json_string.hpp"

namespace ostrel
{

namespace
{

bool isBlank(char byte)
{
    return byte == ' ' || byte == '\n' || byte == '\t' || byte == '\r';
}

/** The length of true, false or null at the start of a text, or 0. */
size_t wordLength(std::string_view text)
{
    for (const std::string_view word : {"true", "false", "null"})
    {
        if (text.starts_with(word))
        {
            return word.size();
        }
    }
    return 0;
}

/** The length of the number at the start of a text, or 0. */
size_t numberLength(const char* text)
{
    const char* at = text;
    const auto takeDigits = [&at] {
        const char* const first = at;
        while (*at >= '0' && *at <= '9')
        {
            ++at;
        }
        return at != first;
    };
    at += *at == '-' ? 1 : 0;
    const bool startsWithZero = *at == '0';
    at += startsWithZero ? 1 : 0;
    bool isValid = startsWithZero || takeDigits();
    if (*at == '.')
    {
        ++at;
        isValid = takeDigits() && isValid;
    }
    if (*at == 'e' || *at == 'E')
    {
        ++at;
        at += *at == '+' || *at == '-' ? 1 : 0;
        isValid = takeDigits() && isValid;
    }
    return isValid ? static_cast<size_t>(at - text) : 0;
}

} // namespace

Tokens::Tokens(std::string_view json) noexcept :
    start(json.data()), at(start), end(start + json.size())
{
}

inline void Tokens::skipBlanks() noexcept
{
    const char* blank = at;
    while (isBlank(*blank))
    {
        ++blank;
    }
    at = blank;
}

inline Token Tokens::key() noexcept
{
    const Token token =
        *at == '"' ? string(TokenKind::key) : stop(TokenKind::mistake);
    skipBlanks();
    if (token.kind == TokenKind::mistake || *at != ':')
    {
        return stop(TokenKind::mistake);
    }
    ++at;
    expected = Expected::value;
    return token;
}

inline Token Tokens::string(TokenKind kind) noexcept
{
    const Spelling spelling = readSpelling({at, end});
    return take(kind, spelling.length, spelling.hasEscapes);
}

Token Tokens::next() noexcept
{
    skipBlanks();
    if (expected == Expected::commaOrEnd || expected == Expected::firstOrEnd)
    {
        if (levels == 0)
        {
            return stop(at == end ? TokenKind::end : TokenKind::mistake);
        }
        if (*at == (inObject ? '}' : ']'))
        {
            return close();
        }
        if (expected == Expected::commaOrEnd)
        {
            if (*at != ',')
            {
                return stop(TokenKind::mistake);
            }
            ++at;
            skipBlanks();
        }
        expected = inObject ? Expected::key : Expected::value;
    }
    if (expected == Expected::key)
    {
        return key();
    }
    if (expected == Expected::value)
    {
        return *at == '"' ? string(TokenKind::string) : other();
    }
    return stop(ending);
}

Token Tokens::other() noexcept
{
    switch (*at)
    {
        case '{':
            return open(TokenKind::objectStart);
        case '[':
            return open(TokenKind::arrayStart);
        case 't':
        case 'f':
        case 'n':
            return take(TokenKind::word, wordLength({at, end}));
        default:
            return take(TokenKind::number, numberLength(at));
    }
}

Token Tokens::open(TokenKind kind) noexcept
{
    if (levels == mostLevels)
    {
        return stop(TokenKind::mistake);
    }
    isObject[levels++] = inObject;
    inObject = kind == TokenKind::objectStart;
    const Token token = take(kind, 1);
    expected = Expected::firstOrEnd;
    return token;
}

Token Tokens::close() noexcept
{
    const bool object = inObject;
    inObject = isObject[--levels];
    return take(object ? TokenKind::objectEnd : TokenKind::arrayEnd, 1);
}

Token Tokens::stop(TokenKind kind) noexcept
{
    expected = Expected::nothing;
    ending = kind;
    return {kind, false, {position(), 0}};
}

} // namespace ostrel
