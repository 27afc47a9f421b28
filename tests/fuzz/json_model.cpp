// SPDX-License-Identifier: Apache-2.0
#include "json_model.hpp"

#include <algorithm>
#include <set>

namespace fuzz
{

namespace
{

using Json = Document::Json;

/** The length of the string, number or word that a text starts with. */
std::size_t tokenLength(std::string_view text)
{
    if (text.front() != '"')
    {
        const auto end = text.find_first_of(" \t\n\r{}[]:,\"");
        return std::min(end, text.size());
    }
    std::size_t length = 1;
    while (length < text.size() && text[length] != '"')
    {
        length += text[length] == '\\' ? 2 : 1;
    }
    return std::min(length + 1, text.size());
}

/** The text with another token for each string, number and word. */
std::string replaced(std::string_view text, auto replacement)
{
    std::string result;
    while (!text.empty())
    {
        const std::size_t length = tokenLength(text);
        const std::string part(text.substr(0, length > 0 ? length : 1));
        result += length > 0 ? replacement(part) : part;
        text.remove_prefix(part.size());
    }
    return result;
}

/**
 * As good or bad a text, with no number outside the range of a double: of
 * digits in a row, what follows the first that is not 0 is left out.
 */
std::string shortened(std::string_view text)
{
    const auto isDigit = [](char byte, char least) {
        return byte >= least && byte <= '9';
    };
    return replaced(text, [isDigit](const std::string& token) {
        std::string kept(1, token.front());
        for (const char byte : token.substr(1))
        {
            const bool isLeftOut = isDigit(kept.back(), '1') &&
                                   isDigit(byte, '0') && token.front() != '"';
            kept += isLeftOut ? "" : std::string(1, byte);
        }
        return kept;
    });
}

/** What nlohmann-json reports of a text. */
struct Structure
{
    Json::value_t root = Json::value_t::discarded;
    bool hasDuplicates = false;
    std::size_t levels = 0;
};

Structure structureOf(std::string_view text)
{
    using Event = Json::parse_event_t;
    Structure found;
    std::vector<std::set<std::string>> keys;
    const auto note = [&](int /*depth*/, Event event, const Json& value) {
        if (event == Event::object_start || event == Event::array_start)
        {
            keys.emplace_back();
            found.levels = std::max(found.levels, keys.size());
        }
        if (event == Event::object_end || event == Event::array_end)
        {
            keys.pop_back();
        }
        if (event == Event::key &&
            !keys.back().insert(value.get<std::string>()).second)
        {
            found.hasDuplicates = true;
        }
        return true;
    };
    found.root = Json::parse(shortened(text), note, false).type();
    return found;
}

std::string decoded(const std::string& string)
{
    return Json::parse(string);
}

std::string encoded(std::string_view text)
{
    return Json(text).dump();
}

/** The member of this name, however it is spelled, or the end. */
auto member(auto& object, std::string_view name)
{
    auto each = object.is_object() ? object.begin() : object.end();
    while (each != object.end() && decoded(each.key()) != name)
    {
        ++each;
    }
    return each;
}

/** The same, added with this value where it is missing. */
Json& memberOrNew(Json& object, std::string_view name, const Json& value)
{
    const auto known = member(object, name);
    return known != object.end() ? *known : object[encoded(name)] = value;
}

} // namespace

std::optional<Document> Document::read(std::string_view text)
{
    bool isRead = Json::accept(text);
    for (const auto& row : disagreements())
    {
        if (isRead != row.isReadByTheStore && row.appliesTo(text))
        {
            isRead = row.isReadByTheStore;
        }
    }
    if (!isRead)
    {
        return std::nullopt;
    }
    Document document;
    document.root = Json::parse(replaced(text, encoded));
    return document;
}

std::vector<std::pair<std::string, std::string>> Document::names() const
{
    std::vector<std::pair<std::string, std::string>> names;
    for (const auto& [section, members] : root.items())
    {
        names.emplace_back(decoded(section), "");
        if (members.is_object())
        {
            for (const auto& [key, value] : members.items())
            {
                names.emplace_back(decoded(section), decoded(key));
            }
        }
    }
    return names;
}

bool Document::isBlocked(std::string_view section) const
{
    const auto known = member(root, section);
    return known != root.end() && !known->is_object();
}

std::optional<std::string> Document::text(std::string_view section,
                                          std::string_view key) const
{
    const auto items = member(root, section);
    if (items == root.end())
    {
        return std::nullopt;
    }
    const auto item = member(*items, key);
    const auto token = item != items->end() && item->is_string()
                           ? item->get<std::string>()
                           : std::string("null");
    return token.front() == '"' ? std::optional(decoded(token)) : std::nullopt;
}

void Document::set(std::string_view section, std::string_view key,
                   std::string_view text)
{
    Json& items = memberOrNew(root, section, Json::object());
    memberOrNew(items, key, "") = encoded(text);
}

void Document::remove(std::string_view section, std::string_view key)
{
    Json& items = *member(root, section);
    items.erase(member(items, key));
}

std::string Document::written() const
{
    return replaced(root.dump(4), decoded) + '\n';
}

const std::vector<Disagreement>& disagreements()
{
    using Text = std::string_view;
    constexpr std::size_t mostLevels = 2048;
    static const std::vector<Disagreement> rows = {
        {"a number has to be in the range of a double", R"({"a":-1e400})", true,
         [](Text text) {
             return !Json::accept(text) && Json::accept(shortened(text));
         }},
        {"a byte order mark counts as a blank", "\xEF\xBB\xBF{}", false,
         [](Text text) { return text.starts_with("\xEF\xBB\xBF"); }},
        {"a NUL counts as the end",
         {"{}\0x", 4},
         false,
         [](Text text) { return text.find('\0') != Text::npos; }},
        {"the root may be any value", "[]", false,
         [](Text text) {
             return structureOf(text).root != Json::value_t::object;
         }},
        {"of duplicate keys the last one counts", R"({"a":{"b":1,"\u0062":1}})",
         false, [](Text text) { return structureOf(text).hasDuplicates; }},
        {"there may be any number of levels",
         R"({"a":)" + std::string(mostLevels, '[') +
             std::string(mostLevels, ']') + '}',
         false,
         [](Text text) { return structureOf(text).levels > mostLevels; }},
    };
    return rows;
}

bool isUtf8(std::string_view text)
{
    // Leaves out what is none.
    const auto valid =
        Json(text).dump(-1, ' ', false, Json::error_handler_t::ignore);
    return decoded(valid) == text;
}

std::string_view fitting(std::string_view text, std::size_t most)
{
    const auto isContinuation = [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80;
    };
    std::size_t length = std::min(most, text.size());
    while (length < text.size() && isContinuation(text[length]))
    {
        --length;
    }
    return text.substr(0, length);
}

} // namespace fuzz
