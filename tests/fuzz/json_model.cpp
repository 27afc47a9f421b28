#include "json_model.hpp"

#include <algorithm>
#include <set>

namespace fuzz
{

namespace
{

using Json = Document::Json;

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
    found.root = Json::parse(text, note, false).type();
    return found;
}

constexpr std::string_view betweenTokens = " \t\n\r{}[]:,";

/** The length of the string, number or word that the text starts with. */
std::size_t tokenLength(std::string_view text)
{
    if (text.front() != '"')
    {
        return std::min(text.find_first_of(betweenTokens), text.size());
    }
    std::size_t length = 1;
    while (text[length] != '"')
    {
        length += text[length] == '\\' ? 2 : 1;
    }
    return length + 1;
}

/** The valid text with another token for each string, number and word. */
std::string replaced(std::string_view text, auto replacement)
{
    std::string result;
    while (!text.empty())
    {
        const bool isToken =
            betweenTokens.find(text.front()) == std::string_view::npos;
        const std::string part(text.substr(0, isToken ? tokenLength(text) : 1));
        result += isToken ? replacement(part) : part;
        text.remove_prefix(part.size());
    }
    return result;
}

std::string decoded(const std::string& string)
{
    return Json::parse(string);
}

std::string encoded(std::string_view text)
{
    return Json(text).dump();
}

/** How the store spells what it has read. */
std::string respelled(const std::string& token)
{
    // The parser gives it the value of an integer, not the text.
    return token == "-0"          ? "0"
           : token.front() == '"' ? encoded(decoded(token))
                                  : token;
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
    if (!Json::accept(text) ||
        std::ranges::any_of(refusedByTheStore(), [text](const auto& each) {
            return each.appliesTo(text);
        }))
    {
        return std::nullopt;
    }
    Document document;
    document.root = Json::parse(replaced(text, [](const std::string& token) {
        return encoded(respelled(token));
    }));
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

const std::vector<Disagreement>& refusedByTheStore()
{
    using Text = std::string_view;
    constexpr std::size_t mostLevels = 2048;
    static const std::vector<Disagreement> rows = {
        {"a byte order mark counts as a blank", "\xEF\xBB\xBF{}",
         [](Text text) { return text.starts_with("\xEF\xBB\xBF"); }},
        {"a NUL counts as the end",
         {"{}\0x", 4},
         [](Text text) { return text.find('\0') != Text::npos; }},
        {"the root may be any value", "[]",
         [](Text text) {
             return structureOf(text).root != Json::value_t::object;
         }},
        {"of duplicate keys the last one counts", R"({"a":{"b":1,"\u0062":1}})",
         [](Text text) { return structureOf(text).hasDuplicates; }},
        {"there may be any number of levels",
         R"({"a":)" + std::string(mostLevels, '[') +
             std::string(mostLevels, ']') + '}',
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
