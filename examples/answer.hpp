#pragma once

#include <iostream>
#include <string>
#include <string_view>
#include <vector>

/** `what: value`, or `what: (empty)`. Flushes, so that whoever listens sees
 * each line as it is written. */
inline void say(std::string_view what, std::string_view value)
{
    std::cout << what << ": " << (value.empty() ? "(empty)" : value)
              << std::endl;
}

inline void say(std::string_view what, const char* value)
{
    say(what, std::string_view(value));
}

inline void say(std::string_view what, int value)
{
    say(what, std::to_string(value));
}

inline void say(std::string_view what, bool value)
{
    say(what, value ? "yes" : "no");
}

inline void say(std::string_view what, const std::vector<std::string>& values)
{
    std::string list;
    for (const auto& value : values)
    {
        list += list.empty() ? value : ", " + value;
    }
    say(what, list);
}
