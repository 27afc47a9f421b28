// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <phosphor-logging/lg2/key.hpp>
#include <phosphor-logging/lg2/record.hpp>
#include <phosphor-logging/lg2/value.hpp>

#include <array>
#include <cstddef>
#include <source_location>
#include <string>
#include <type_traits>
#include <utility>

namespace lg2
{
inline namespace fenmarch_subset
{
namespace details
{

/** The keys are at the even positions, each before its value. */
template <std::size_t position, typename Argument>
using Parameter = std::conditional_t<position % 2 == 0, Key, const Argument&>;

template <int priority, typename Positions, typename... Arguments>
class Statement;

/**
 * Its constructor logs. It is a class and not a function because the location
 * of the caller follows a list of any length: a deduction guide fixes the list
 * before the default argument after it applies.
 */
template <int priority, std::size_t... positions, typename... Arguments>
class Statement<priority, std::index_sequence<positions...>, Arguments...>
{
    static_assert(sizeof...(Arguments) % 2 == 0, "each key needs a value");

  public:
    explicit Statement(
        const char* text, Parameter<positions, Arguments>... arguments,
        const std::source_location& where = std::source_location::current()) :
        Statement(where, text, arguments...)
    {
    }

    explicit Statement(const std::source_location& where, const char* text,
                       Parameter<positions, Arguments>... arguments)
    {
        std::array<std::string, sizeof...(Arguments)> texts{
            textOf(arguments)...};
        log(priority, text, texts, where);
    }
};

} // namespace details
} // namespace fenmarch_subset
} // namespace lg2
