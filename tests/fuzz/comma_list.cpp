// SPDX-License-Identifier: Apache-2.0

/**
 * processDotString() against a splitter that goes byte by byte.
 */
#include "fuzz_target.hpp"

#include <libfenmarch.hpp>

using namespace phosphor::software::updater;

const int fuzz::sabotages = 2;

namespace
{

std::vector<std::string> expectedElements(const std::string& text)
{
    std::vector<std::string> elements(1);
    bool ended = false;
    for (const char byte : text)
    {
        if (byte == ',')
        {
            elements.emplace_back();
            ended = false;
        }
        else if (byte == '\0' || ended)
        {
            ended = true;
        }
        else
        {
            elements.back() += byte;
        }
    }
    return elements;
}

std::vector<std::string> elementsOf(const std::string& text)
{
    auto elements = processDotString(text);
    if (fuzz::sabotage == 1 && elements.back().empty())
    {
        elements.pop_back();
    }
    if (fuzz::sabotage == 2 && elements.back().starts_with(' '))
    {
        elements.back().erase(0, 1);
    }
    return elements;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(data, data + size);
    fuzz::require(elementsOf(text) == expectedElements(text),
                  "a text is split at its commas, a NUL ends its element");
    return 0;
}
