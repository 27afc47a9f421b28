// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace lg2
{
inline namespace fenmarch_subset
{
namespace details
{

/**
 * The name of a field, checked while compiling. It is not empty, consists of
 * A-Z, 0-9 and _, does not begin with _ (the journal drops such fields), and
 * differs from the names of the fields that every record has.
 */
class Key
{
  public:
    consteval Key(const char* text) : name(text)
    {
        if (!usable(text))
        {
            throw "not usable as the name of a field";
        }
    }

    friend std::string textOf(const Key& key)
    {
        return key.name;
    }

  private:
    static constexpr bool usable(std::string_view name)
    {
        constexpr std::array<std::string_view, 6> reserved{
            "MESSAGE",   "LOG2_FMTMSG", "PRIORITY",
            "CODE_FILE", "CODE_LINE",   "CODE_FUNC"};

        return !name.empty() && !name.starts_with('_') &&
               std::ranges::all_of(name, allowed) &&
               std::ranges::find(reserved, name) == reserved.end();
    }

    static constexpr bool allowed(char character)
    {
        return (character >= 'A' && character <= 'Z') ||
               (character >= '0' && character <= '9') || character == '_';
    }

    const char* name;
};

} // namespace details
} // namespace fenmarch_subset
} // namespace lg2
