#pragma once

#include <concepts>
#include <exception>
#include <string>
#include <type_traits>

namespace lg2
{
inline namespace fenmarch_subset
{
namespace details
{

/** The text of a field: a bool as True or False, a number in decimal, an
 *  exception as its what(), and whatever a string can be made of. */
template <typename Value>
std::string textOf(const Value& value)
{
    if constexpr (std::same_as<Value, bool>)
    {
        return value ? "True" : "False";
    }
    else if constexpr (std::is_arithmetic_v<Value>)
    {
        return std::to_string(value);
    }
    else if constexpr (std::derived_from<Value, std::exception>)
    {
        return value.what();
    }
    else
    {
        return std::string(value);
    }
}

} // namespace details
} // namespace fenmarch_subset
} // namespace lg2
