// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <concepts>
#include <exception>
#include <string>

namespace lg2
{
inline namespace fenmarch_subset
{
namespace details
{

/** The text of a field: a bool as True or False, an integer in decimal, an
 *  exception as its what(), a string up to its first NUL. Other types do not
 *  compile. */
template <typename Value>
std::string textOf(const Value& value)
{
    if constexpr (std::same_as<Value, bool>)
    {
        return value ? "True" : "False";
    }
    else if constexpr (std::integral<Value>)
    {
        return std::to_string(value);
    }
    else if constexpr (std::derived_from<Value, std::exception>)
    {
        return value.what();
    }
    else if constexpr (std::same_as<Value, std::string>)
    {
        return value.c_str();
    }
    else
    {
        // The package treats an array of char, such as a literal, as a key, and
        // reads past the end of a std::string_view.
        static_assert(std::same_as<Value, const char*>,
                      "a value is a const char*, a std::string, an integer, a "
                      "bool or an exception; of a literal make a std::string");
        return value;
    }
}

} // namespace details
} // namespace fenmarch_subset
} // namespace lg2
