// SPDX-License-Identifier: Apache-2.0
#include "experiment.hpp"

#include <algorithm>
#include <iostream>

namespace torture
{

void Report::count(const std::string& figure, size_t howMany)
{
    const auto known = std::ranges::find(
        counted, figure, &std::pair<std::string, size_t>::first);
    if (known != counted.end())
    {
        known->second += howMany;
        return;
    }
    counted.emplace_back(figure, howMany);
}

void Report::loss(const std::string& what)
{
    // A mechanism that is broken on purpose causes many losses.
    constexpr size_t shown = 20;
    found.push_back(what);
    if (found.size() <= shown)
    {
        std::cout << "    LOSS " << what << std::endl;
    }
}

std::string Report::figures() const
{
    std::string text;
    for (const auto& [figure, howMany] : counted)
    {
        text +=
            (text.empty() ? "" : ", ") + std::to_string(howMany) + " " + figure;
    }
    return text;
}

} // namespace torture
