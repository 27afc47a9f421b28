#include "document_reader.hpp"

#include "errors.hpp"
#include "json_parser.hpp"
#include "json_text.hpp"

#include <algorithm>
#include <set>
#include <stack>

namespace ostrel
{

namespace
{

using nlohmann::json;

constexpr size_t mostLevels = 2048;
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

enum class Container
{
    object,
    array
};

/** An object or array that is not closed yet. */
struct Level
{
    Container container;
    std::set<std::string> keys = {};
    size_t elements = 0;
};

/**
 * Takes the parser's events; a false result ends the parsing. The parser's own
 * values are not used: they allocate while they are destroyed, which ends the
 * process when memory is short.
 */
class Reader
{
  public:
    std::vector<Section> sections;

    bool null()
    {
        return scalar("null");
    }

    bool boolean(bool value)
    {
        return scalar(value ? "true" : "false");
    }

    bool number_integer(json::number_integer_t value)
    {
        return scalar(std::to_string(value));
    }

    bool number_unsigned(json::number_unsigned_t value)
    {
        return scalar(std::to_string(value));
    }

    bool number_float(json::number_float_t, const std::string& digits)
    {
        // As it was written, but for the point, which the parser has replaced
        // by the one of the locale.
        std::string text = digits;
        std::ranges::replace_if(
            text,
            [](char c) {
                return std::string_view("0123456789+-eE").find(c) ==
                       std::string_view::npos;
            },
            '.');
        return scalar(std::move(text));
    }

    bool string(std::string& value)
    {
        if (levels.size() == 2 && foreign.empty())
        {
            items().push_back({std::move(name), std::move(value)});
            return true;
        }
        return scalar(stringJson(value));
    }

    static bool binary(json::binary_t&)
    {
        return false;
    }

    bool key(std::string& text)
    {
        auto& keys = levels.top().keys;
        if (!keys.insert(text).second)
        {
            return false;
        }
        if (foreign.empty())
        {
            name = std::move(text);
            return true;
        }
        foreign += keys.size() > 1 ? "," : "";
        foreign += stringJson(text) + ':';
        return true;
    }

    bool start_object(size_t)
    {
        if (levels.empty())
        {
            return enter(Container::object);
        }
        if (levels.size() == 1)
        {
            sections.push_back({std::move(name), Items()});
            return enter(Container::object);
        }
        return enterForeign('{', Container::object);
    }

    bool end_object()
    {
        return leave('}');
    }

    bool start_array(size_t)
    {
        return !levels.empty() && enterForeign('[', Container::array);
    }

    bool end_array()
    {
        return leave(']');
    }

    static bool parse_error(size_t, const std::string&, const json::exception&)
    {
        return false;
    }

  private:
    Items& items()
    {
        return std::get<Items>(sections.back().content);
    }

    bool scalar(std::string text)
    {
        if (levels.empty())
        {
            return false;
        }
        if (foreign.empty())
        {
            keep({std::move(text)});
            return true;
        }
        separate();
        foreign += text;
        return true;
    }

    bool enter(Container container)
    {
        if (levels.size() == mostLevels)
        {
            return false;
        }
        levels.push({container});
        return true;
    }

    bool enterForeign(char bracket, Container container)
    {
        if (foreign.empty())
        {
            levelsOutside = levels.size();
        }
        else
        {
            separate();
        }
        foreign += bracket;
        return enter(container);
    }

    bool leave(char bracket)
    {
        levels.pop();
        if (foreign.empty())
        {
            return true;
        }
        foreign += bracket;
        if (levels.size() == levelsOutside)
        {
            keep({std::exchange(foreign, "")});
        }
        return true;
    }

    /** Before an element of an array. */
    void separate()
    {
        Level& level = levels.top();
        if (level.container == Container::array && level.elements++ > 0)
        {
            foreign += ',';
        }
    }

    void keep(Foreign value)
    {
        if (levels.size() == 1)
        {
            sections.push_back({std::move(name), std::move(value)});
        }
        else
        {
            items().push_back({std::move(name), std::move(value)});
        }
    }

    std::stack<Level> levels;
    /** Of the section or item whose value comes next. */
    std::string name;
    /** The value that is none of ours, as far as it is read; else empty. */
    std::string foreign;
    size_t levelsOutside = 0;
};

} // namespace

Document readDocument(std::string_view text)
{
    // The parser takes a mark for a blank and a NUL for the end.
    require(!text.starts_with(byteOrderMark) &&
                text.find('\0') == std::string_view::npos,
            EBADMSG);
    Reader reader;
    require(json::sax_parse(text, &reader), EBADMSG);
    return Document(std::move(reader.sections));
}

} // namespace ostrel
