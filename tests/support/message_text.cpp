// SPDX-License-Identifier: Apache-2.0
#include "message_text.hpp"

#include "checked.hpp"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace support
{

namespace
{

constexpr std::string_view escapedCharacters = "\a\b\f\n\r\t\v\\\"'";
constexpr std::string_view escapeLetters = "abfnrtv\\\"'";

char octalDigit(unsigned char byte, unsigned shift)
{
    return static_cast<char>('0' + ((byte >> shift) & 7));
}

template <typename Number>
std::string numberText(Number number)
{
    char digits[64];
    const auto [end, error] =
        std::to_chars(std::begin(digits), std::end(digits), number);
    return {digits, end};
}

template <typename Basic>
Basic readBasic(sd_bus_message* message, char type)
{
    Basic value{};
    checkedSystemd(sd_bus_message_read_basic(message, type, &value),
                   "sd_bus_message_read_basic");
    return value;
}

std::string basicText(sd_bus_message* message, char type)
{
    switch (type)
    {
        case 'y':
            return numberText(readBasic<std::uint8_t>(message, type));
        case 'b':
            return readBasic<int>(message, type) != 0 ? "true" : "false";
        case 'n':
            return numberText(readBasic<std::int16_t>(message, type));
        case 'q':
            return numberText(readBasic<std::uint16_t>(message, type));
        case 'i':
        case 'h':
            return numberText(readBasic<std::int32_t>(message, type));
        case 'u':
            return numberText(readBasic<std::uint32_t>(message, type));
        case 'x':
            return numberText(readBasic<std::int64_t>(message, type));
        case 't':
            return numberText(readBasic<std::uint64_t>(message, type));
        case 'd':
            return numberText(readBasic<double>(message, type));
        default:
            return quoted(readBasic<const char*>(message, type));
    }
}

bool atEnd(sd_bus_message* message)
{
    return checkedSystemd(sd_bus_message_at_end(message, 0),
                          "sd_bus_message_at_end") != 0;
}

std::string containerText(sd_bus_message* message, char type,
                          const std::string& contents)
{
    checkedSystemd(
        sd_bus_message_enter_container(message, type, contents.c_str()),
        "sd_bus_message_enter_container");
    std::string values;
    std::size_t count = 0;
    for (; !atEnd(message); ++count)
    {
        values += (values.empty() ? "" : " ") + nextValueText(message);
    }
    checkedSystemd(sd_bus_message_exit_container(message),
                   "sd_bus_message_exit_container");
    if (type == SD_BUS_TYPE_VARIANT)
    {
        return contents + ' ' + values;
    }
    if (type == SD_BUS_TYPE_ARRAY)
    {
        return numberText(count) + (values.empty() ? "" : " ") + values;
    }
    return values;
}

/** The number of characters of the first complete type. */
std::size_t completeType(std::string_view signature)
{
    if (signature.empty())
    {
        throw std::invalid_argument("the signature ends too early");
    }
    if (signature.front() == 'a')
    {
        return 1 + completeType(signature.substr(1));
    }
    if (signature.front() != '(' && signature.front() != '{')
    {
        return 1;
    }
    const char close = signature.front() == '(' ? ')' : '}';
    std::size_t length = 1;
    while (length < signature.size() && signature[length] != close)
    {
        length += completeType(signature.substr(length));
    }
    return length + 1;
}

/** Reads a text word by word. */
class Words
{
  public:
    explicit Words(std::string_view text) : rest(text)
    {
    }

    bool atEnd()
    {
        rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
        return rest.empty();
    }

    std::string next()
    {
        if (atEnd())
        {
            throw std::invalid_argument("a value is missing");
        }
        return rest.front() == '"' ? nextQuoted() : nextPlain();
    }

  private:
    std::string nextPlain()
    {
        const std::size_t length = std::min(rest.find(' '), rest.size());
        std::string word(rest.substr(0, length));
        rest.remove_prefix(length);
        return word;
    }

    char take()
    {
        if (rest.empty())
        {
            throw std::invalid_argument("a quote is not closed");
        }
        const char character = rest.front();
        rest.remove_prefix(1);
        return character;
    }

    std::string nextQuoted()
    {
        std::string word;
        rest.remove_prefix(1);
        for (char c = take(); c != '"'; c = take())
        {
            word += c == '\\' ? takeEscaped() : c;
        }
        return word;
    }

    char takeEscaped()
    {
        const char letter = take();
        const std::size_t place = escapeLetters.find(letter);
        if (place != std::string_view::npos)
        {
            return escapedCharacters[place];
        }
        const std::string digits{letter, take(), take()};
        unsigned value = 0;
        const auto [end, error] = std::from_chars(
            digits.data(), digits.data() + digits.size(), value, 8);
        if (error != std::errc() || end != digits.data() + digits.size() ||
            value == 0 || value > 0xff)
        {
            throw std::invalid_argument("not an escape: \\" + digits);
        }
        return static_cast<char>(value);
    }

    std::string_view rest;
};

void appendBasic(sd_bus_message* message, char type, const void* value,
                 const std::string& word)
{
    if (sd_bus_message_append_basic(message, type, value) < 0)
    {
        throw std::invalid_argument("not of type '" + std::string(1, type) +
                                    "': " + word);
    }
}

template <typename Number>
void appendNumber(sd_bus_message* message, char type, const std::string& word)
{
    Number number{};
    const char* const last = word.data() + word.size();
    const auto [end, error] = std::from_chars(word.data(), last, number);
    if (error != std::errc() || end != last)
    {
        throw std::invalid_argument("not of type '" + std::string(1, type) +
                                    "': " + word);
    }
    appendBasic(message, type, &number, word);
}

void appendBoolean(sd_bus_message* message, const std::string& word)
{
    if (word != "true" && word != "false")
    {
        throw std::invalid_argument("not of type 'b': " + word);
    }
    const int value = word == "true" ? 1 : 0;
    appendBasic(message, 'b', &value, word);
}

void appendBasicText(sd_bus_message* message, char type,
                     const std::string& word)
{
    switch (type)
    {
        case 'y':
            return appendNumber<std::uint8_t>(message, type, word);
        case 'b':
            return appendBoolean(message, word);
        case 'n':
            return appendNumber<std::int16_t>(message, type, word);
        case 'q':
            return appendNumber<std::uint16_t>(message, type, word);
        case 'i':
            return appendNumber<std::int32_t>(message, type, word);
        case 'u':
            return appendNumber<std::uint32_t>(message, type, word);
        case 'x':
            return appendNumber<std::int64_t>(message, type, word);
        case 't':
            return appendNumber<std::uint64_t>(message, type, word);
        case 'd':
            return appendNumber<double>(message, type, word);
        case 's':
        case 'o':
        case 'g':
            return appendBasic(message, type, word.c_str(), word);
        default:
            throw std::invalid_argument("not a type that text can hold: " +
                                        std::string(1, type));
    }
}

void appendValues(sd_bus_message* message, std::string_view signature,
                  Words& words);

void openContainer(sd_bus_message* message, char type,
                   const std::string& contents)
{
    if (sd_bus_message_open_container(message, type, contents.c_str()) < 0)
    {
        throw std::invalid_argument("not the contents of a '" +
                                    std::string(1, type) + "': " + contents);
    }
}

void closeContainer(sd_bus_message* message)
{
    checkedSystemd(sd_bus_message_close_container(message),
                   "sd_bus_message_close_container");
}

std::size_t elementCount(const std::string& word)
{
    std::size_t count = 0;
    const char* const last = word.data() + word.size();
    const auto [end, error] = std::from_chars(word.data(), last, count);
    if (error != std::errc() || end != last)
    {
        throw std::invalid_argument("not a number of elements: " + word);
    }
    return count;
}

void appendArray(sd_bus_message* message, const std::string& element,
                 Words& words)
{
    openContainer(message, SD_BUS_TYPE_ARRAY, element);
    const std::size_t count = elementCount(words.next());
    for (std::size_t i = 0; i < count; ++i)
    {
        appendValues(message, element, words);
    }
    closeContainer(message);
}

void appendVariant(sd_bus_message* message, Words& words)
{
    const std::string contents = words.next();
    openContainer(message, SD_BUS_TYPE_VARIANT, contents);
    appendValues(message, contents, words);
    closeContainer(message);
}

void appendMembers(sd_bus_message* message, char type,
                   const std::string& members, Words& words)
{
    openContainer(message, type, members);
    appendValues(message, members, words);
    closeContainer(message);
}

void appendValue(sd_bus_message* message, const std::string& type, Words& words)
{
    switch (type.front())
    {
        case 'a':
            return appendArray(message, type.substr(1), words);
        case 'v':
            return appendVariant(message, words);
        case '(':
            return appendMembers(message, SD_BUS_TYPE_STRUCT,
                                 type.substr(1, type.size() - 2), words);
        case '{':
            return appendMembers(message, SD_BUS_TYPE_DICT_ENTRY,
                                 type.substr(1, type.size() - 2), words);
        default:
            return appendBasicText(message, type.front(), words.next());
    }
}

void appendValues(sd_bus_message* message, std::string_view signature,
                  Words& words)
{
    while (!signature.empty())
    {
        const std::size_t length = completeType(signature);
        if (length > signature.size())
        {
            throw std::invalid_argument("the signature ends too early");
        }
        appendValue(message, std::string(signature.substr(0, length)), words);
        signature.remove_prefix(length);
    }
}

} // namespace

std::string bodyText(sd_bus_message* message)
{
    checkedSystemd(sd_bus_message_rewind(message, 1), "sd_bus_message_rewind");
    std::string text;
    while (!atEnd(message))
    {
        text += (text.empty() ? "" : " ") + nextValueText(message);
    }
    return text;
}

std::string nextValueText(sd_bus_message* message)
{
    char type = 0;
    const char* contents = nullptr;
    checkedSystemd(sd_bus_message_peek_type(message, &type, &contents),
                   "sd_bus_message_peek_type");
    return contents == nullptr ? basicText(message, type)
                               : containerText(message, type, contents);
}

void appendText(sd_bus_message* message, const std::string& signature,
                const std::string& text)
{
    Words words(text);
    appendValues(message, signature, words);
    if (!words.atEnd())
    {
        throw std::invalid_argument("more values than the signature: " + text);
    }
}

std::string quoted(const std::string& string)
{
    std::string text = "\"";
    for (const char c : string)
    {
        const auto byte = static_cast<unsigned char>(c);
        const std::size_t place = escapedCharacters.find(c);
        if (place != std::string_view::npos)
        {
            text += {'\\', escapeLetters[place]};
        }
        else if (byte < ' ' || byte >= 127)
        {
            text += {'\\', octalDigit(byte, 6), octalDigit(byte, 3),
                     octalDigit(byte, 0)};
        }
        else
        {
            text += c;
        }
    }
    return text + '"';
}

} // namespace support
