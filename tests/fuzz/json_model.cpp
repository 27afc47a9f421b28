#include "json_model.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <set>

namespace fuzz
{

namespace
{

constexpr int deepest = 2048;

bool isDigit(char byte)
{
    return byte >= '0' && byte <= '9';
}

bool isBlank(char byte)
{
    return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r';
}

void appendUtf8(std::string& text, unsigned int code)
{
    const auto append = [&](unsigned int byte) {
        text += static_cast<char>(byte);
    };
    const auto continuation = [&](int shift) {
        append(0x80U | (code >> shift & 0x3FU));
    };
    if (code < 0x80)
    {
        append(code);
    }
    else if (code < 0x800)
    {
        append(0xC0U | code >> 6);
        continuation(0);
    }
    else if (code < 0x10000)
    {
        append(0xE0U | code >> 12);
        continuation(6);
        continuation(0);
    }
    else
    {
        append(0xF0U | code >> 18);
        continuation(12);
        continuation(6);
        continuation(0);
    }
}

/** Reads from the start to the end. Each function returns false where the text
 *  is to be refused. */
class Reader
{
  public:
    explicit Reader(std::string_view text) : input(text)
    {
    }

    std::optional<Sections> read()
    {
        Sections sections;
        skipBlanks();
        if (!readSections(sections))
        {
            return std::nullopt;
        }
        skipBlanks();
        return next == input.size() ? std::optional(sections) : std::nullopt;
    }

  private:
    /** The byte that comes next; a NUL, which is nowhere valid, at the end. */
    [[nodiscard]] char peek() const
    {
        return next < input.size() ? input[next] : '\0';
    }

    bool take(std::string_view expected)
    {
        if (!input.substr(next).starts_with(expected))
        {
            return false;
        }
        next += expected.size();
        return true;
    }

    void skipBlanks()
    {
        while (isBlank(peek()))
        {
            ++next;
        }
    }

    template <typename ReadElement>
    bool readList(const char* opening, const char* closing,
                  ReadElement readElement)
    {
        if (!take(opening) || ++depth > deepest)
        {
            return false;
        }
        skipBlanks();
        if (peek() != *closing)
        {
            do
            {
                skipBlanks();
                if (!readElement())
                {
                    return false;
                }
                skipBlanks();
            } while (take(","));
        }
        --depth;
        return take(closing);
    }

    template <typename ReadMember>
    bool readObject(ReadMember readMember)
    {
        std::set<std::string> keys;
        return readList("{", "}", [&] {
            std::string key;
            if (!readString(key) || !keys.insert(key).second)
            {
                return false;
            }
            skipBlanks();
            if (!take(":"))
            {
                return false;
            }
            skipBlanks();
            return readMember(key);
        });
    }

    bool readSections(Sections& sections)
    {
        return readObject([&](const std::string& name) {
            Section& section = sections.emplace_back();
            section.name = name;
            section.isObject = peek() == '{';
            return section.isObject ? readItems(section.items)
                                    : readValue(section.other);
        });
    }

    bool readItems(std::vector<Item>& items)
    {
        return readObject([&](const std::string& key) {
            Item& item = items.emplace_back();
            item.key = key;
            return peek() == '"' ? readString(item.text.emplace())
                                 : readValue(item.other);
        });
    }

    /** Appends what the value consists of, without its blanks and escapes. */
    bool readValue(std::string& content)
    {
        if (peek() == '{' || peek() == '[')
        {
            return readContainer(content);
        }
        const std::size_t start = next;
        if (peek() == '"')
        {
            std::string text;
            const bool good = readString(text);
            content += std::to_string(text.size()) + '"' + text;
            return good;
        }
        const bool good =
            take("true") || take("false") || take("null") || readNumber();
        const auto word = input.substr(start, next - start);
        // The parser tells the value of an integer alone.
        content += word == "-0" ? "0" : word;
        return good;
    }

    bool readContainer(std::string& content)
    {
        const char opening = peek();
        const auto readElement = [&] {
            content += ',';
            return readValue(content);
        };
        content += opening;
        const bool good = opening == '['
                              ? readList("[", "]", readElement)
                              : readObject([&](const std::string& key) {
                                    content +=
                                        std::to_string(key.size()) + '"' + key;
                                    return readElement();
                                });
        content += 'e';
        return good;
    }

    bool readDigits()
    {
        const bool any = isDigit(peek());
        while (isDigit(peek()))
        {
            ++next;
        }
        return any;
    }

    bool readNumber()
    {
        const std::size_t start = next;
        take("-");
        if (!take("0") && !readDigits())
        {
            return false;
        }
        if (take(".") && !readDigits())
        {
            return false;
        }
        if (take("e") || take("E"))
        {
            if (!take("+"))
            {
                take("-");
            }
            if (!readDigits())
            {
                return false;
            }
        }
        const std::string number(input.substr(start, next - start));
        return std::isfinite(std::strtod(number.c_str(), nullptr));
    }

    bool readString(std::string& text)
    {
        if (!take("\""))
        {
            return false;
        }
        while (next < input.size() && input[next] != '"')
        {
            const char byte = input[next++];
            if (static_cast<unsigned char>(byte) < 0x20)
            {
                return false;
            }
            if (byte != '\\')
            {
                text += byte;
            }
            else if (!readEscape(text))
            {
                return false;
            }
        }
        return take("\"") && isUtf8(text);
    }

    bool readEscape(std::string& text)
    {
        constexpr std::string_view letters = R"("\/bfnrt)";
        constexpr std::string_view meanings = "\"\\/\b\f\n\r\t";
        const auto letter = letters.find(peek());
        if (letter != std::string_view::npos)
        {
            ++next;
            text += meanings[letter];
            return true;
        }
        unsigned int code = 0;
        if (!readCode(code))
        {
            return false;
        }
        if (code >= 0xD800 && code < 0xDC00)
        {
            unsigned int low = 0;
            if (!take("\\") || !readCode(low) || low < 0xDC00 || low >= 0xE000)
            {
                return false;
            }
            code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
        }
        else if (code >= 0xDC00 && code < 0xE000)
        {
            return false;
        }
        appendUtf8(text, code);
        return true;
    }

    bool readCode(unsigned int& code)
    {
        constexpr std::size_t digits = 4;
        if (!take("u") || input.size() - next < digits)
        {
            return false;
        }
        const char* const start = input.data() + next;
        next += digits;
        return std::from_chars(start, start + digits, code, 16).ptr ==
               start + digits;
    }

    std::string_view input;
    std::size_t next = 0;
    int depth = 0;
};

bool isContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80;
}

/** The length of the character that a text starts with, 0 where it is none. */
std::size_t characterLength(std::string_view text)
{
    struct Form
    {
        unsigned char mask;
        unsigned char lead;
        unsigned int least;
    };
    constexpr Form forms[] = {{0x80, 0x00, 0},
                              {0xE0, 0xC0, 0x80},
                              {0xF0, 0xE0, 0x800},
                              {0xF8, 0xF0, 0x10000}};
    const auto first = static_cast<unsigned char>(text.front());
    std::size_t length = 1;
    for (const auto& [mask, lead, least] : forms)
    {
        if ((first & mask) == lead)
        {
            if (text.size() < length)
            {
                return 0;
            }
            unsigned int code = first & static_cast<unsigned char>(~mask);
            for (const char byte : text.substr(1, length - 1))
            {
                if (!isContinuation(byte))
                {
                    return 0;
                }
                code = code << 6 | (static_cast<unsigned char>(byte) & 0x3FU);
            }
            const bool isSurrogate = code >= 0xD800 && code < 0xE000;
            return code >= least && code < 0x110000 && !isSurrogate ? length
                                                                    : 0;
        }
        ++length;
    }
    return 0;
}

} // namespace

const Section* Sections::find(std::string_view name) const
{
    const auto found = std::ranges::find(*this, name, &Section::name);
    return found == end() ? nullptr : &*found;
}

std::optional<std::string> Sections::text(std::string_view section,
                                          std::string_view key) const
{
    const Section* const holder = find(section);
    if (holder == nullptr)
    {
        return std::nullopt;
    }
    const auto found = std::ranges::find(holder->items, key, &Item::key);
    return found == holder->items.end() ? std::nullopt : found->text;
}

void Sections::set(const std::string& section, const std::string& key,
                   const std::string& text)
{
    auto holder = std::ranges::find(*this, section, &Section::name);
    if (holder == end())
    {
        holder = insert(end(), {section, true, {}});
    }
    auto item = std::ranges::find(holder->items, key, &Item::key);
    if (item == holder->items.end())
    {
        item = holder->items.insert(holder->items.end(), {key, {}});
    }
    item->text = text;
    item->other.clear();
}

void Sections::remove(std::string_view section, std::string_view key)
{
    const auto holder = std::ranges::find(*this, section, &Section::name);
    std::erase_if(holder->items,
                  [key](const Item& item) { return item.key == key; });
}

std::optional<Sections> readModel(std::string_view text)
{
    return Reader(text).read();
}

bool isUtf8(std::string_view text)
{
    while (!text.empty())
    {
        const std::size_t length = characterLength(text);
        if (length == 0)
        {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

std::string_view fitting(std::string_view text, std::size_t most)
{
    std::size_t length = 0;
    while (length < text.size())
    {
        const std::size_t character = characterLength(text.substr(length));
        if (length + character > most)
        {
            break;
        }
        length += character;
    }
    return text.substr(0, length);
}

} // namespace fuzz
