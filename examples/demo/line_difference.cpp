// SPDX-License-Identifier: Apache-2.0
#include "line_difference.hpp"

#include <algorithm>

namespace demo
{

namespace
{

using Lines = std::vector<std::string>;

/** For each pair of positions the length of the longest common subsequence of
 *  the lines after them. */
std::vector<std::vector<std::size_t>> commonLengths(const Lines& before,
                                                    const Lines& after)
{
    std::vector<std::vector<std::size_t>> lengths(
        before.size() + 1, std::vector<std::size_t>(after.size() + 1));
    for (std::size_t i = before.size(); i-- > 0;)
    {
        for (std::size_t j = after.size(); j-- > 0;)
        {
            lengths[i][j] = before[i] == after[j] ? lengths[i + 1][j + 1] + 1
                                                  : std::max(lengths[i + 1][j],
                                                             lengths[i][j + 1]);
        }
    }
    return lengths;
}

Lines markedLines(const Lines& before, const Lines& after)
{
    const auto lengths = commonLengths(before, after);
    Lines marked;
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < before.size() || j < after.size())
    {
        if (i < before.size() && j < after.size() && before[i] == after[j])
        {
            marked.push_back("  " + before[i++]);
            ++j;
        }
        else if (j == after.size() ||
                 (i < before.size() && lengths[i + 1][j] >= lengths[i][j + 1]))
        {
            marked.push_back("- " + before[i++]);
        }
        else
        {
            marked.push_back("+ " + after[j++]);
        }
    }
    return marked;
}

bool isBesideChange(const Lines& marked, std::size_t position)
{
    const auto first = position == 0 ? 0 : position - 1;
    const auto end = std::min(position + 2, marked.size());
    for (std::size_t i = first; i < end; ++i)
    {
        if (!marked[i].starts_with("  "))
        {
            return true;
        }
    }
    return false;
}

} // namespace

Lines lineDifference(const Lines& before, const Lines& after)
{
    const Lines marked = markedLines(before, after);
    Lines shown;
    for (std::size_t i = 0; i < marked.size(); ++i)
    {
        if (isBesideChange(marked, i))
        {
            shown.push_back(marked[i]);
        }
        else if (shown.empty() || shown.back() != "  ...")
        {
            shown.emplace_back("  ...");
        }
    }
    return shown;
}

} // namespace demo
