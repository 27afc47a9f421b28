// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/exception.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace sdbusplus
{
inline namespace fenmarch_subset
{
namespace common::xyz::openbmc_project::software
{

/** The texts of an enumeration: a common prefix, and a row for each
 *  enumerator. */
template <typename Enumeration, std::size_t count>
struct EnumeratorNames
{
    std::string_view prefix;
    std::array<std::pair<Enumeration, std::string_view>, count> rows;

    /** @throws std::invalid_argument with the number as its text when no
     *          enumerator has the value */
    std::string toText(Enumeration value) const
    {
        const auto row = std::ranges::find(
            rows, value, &std::pair<Enumeration, std::string_view>::first);
        if (row == rows.end())
        {
            throw std::invalid_argument(
                std::to_string(static_cast<int>(value)));
        }
        return std::string(prefix).append(row->second);
    }

    /** @throws exception::InvalidEnumString when no enumerator has the text */
    Enumeration fromText(std::string_view text) const
    {
        const auto row = std::ranges::find_if(rows, [&](const auto& candidate) {
            return text == std::string(prefix).append(candidate.second);
        });
        if (row == rows.end())
        {
            throw exception::InvalidEnumString();
        }
        return row->first;
    }
};

} // namespace common::xyz::openbmc_project::software
} // namespace fenmarch_subset
} // namespace sdbusplus
