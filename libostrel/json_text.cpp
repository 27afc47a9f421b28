#include "json_text.hpp"

#include "errors.hpp"
#include "json_parser.hpp"

namespace ostrel
{

namespace
{

constexpr size_t indentation = 4;

/** The length of the string that starts here, with its quotes. */
size_t stringLength(std::string_view json)
{
    size_t length = 1;
    while (json[length] != '"')
    {
        length += json[length] == '\\' ? 2 : 1;
    }
    return length + 1;
}

bool closes(char bracket)
{
    return bracket == '}' || bracket == ']';
}

} // namespace

std::string stringJson(std::string_view text)
{
    try
    {
        return nlohmann::json(text).dump();
    }
    catch (const nlohmann::json::type_error&)
    {
        fail(EILSEQ);
    }
}

std::string indented(std::string_view json)
{
    std::string text;
    size_t depth = 0;
    const auto newLine = [&] {
        text += '\n';
        text.append(depth * indentation, ' ');
    };
    for (size_t at = 0; at < json.size(); ++at)
    {
        const char token = json[at];
        switch (token)
        {
            case '"':
            {
                const size_t length = stringLength(json.substr(at));
                text += json.substr(at, length);
                at += length - 1;
                break;
            }
            case '{':
            case '[':
                text += token;
                if (closes(json[at + 1]))
                {
                    text += json[++at];
                    break;
                }
                ++depth;
                newLine();
                break;
            case '}':
            case ']':
                --depth;
                newLine();
                text += token;
                break;
            case ',':
                text += token;
                newLine();
                break;
            case ':':
                text += ": ";
                break;
            default:
                text += token;
        }
    }
    return text;
}

} // namespace ostrel
