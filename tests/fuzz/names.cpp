// SPDX-License-Identifier: Apache-2.0

/**
 * The conversions between enumerators and their names, against lists of both.
 */
#include "fuzz_target.hpp"

#include <libfenmarch.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <string_view>

using namespace phosphor::software::updater;

const int fuzz::sabotages = 4;

namespace
{

/** In the order of their values, from 0 on. */
using Names = std::span<const std::string_view>;

constexpr auto purposes = std::to_array<std::string_view>(
    {"Unknown", "Other", "System", "BMC", "Host", "PSU"});
constexpr auto activations = std::to_array<std::string_view>(
    {"NotReady", "Invalid", "Ready", "Activating", "Active", "Failed", "Staged",
     "Staging"});

/** The value of a name, 0 for every other text. */
int valueOf(Names names, const std::string& text)
{
    const auto found = std::ranges::find(names, text);
    return found == names.end() ? 0 : static_cast<int>(found - names.begin());
}

std::string afterLastDot(const std::string& text)
{
    std::string name;
    bool dotSeen = false;
    for (const char byte : text)
    {
        dotSeen = dotSeen || byte == '.';
        name = byte == '.' ? "" : name + byte;
    }
    return dotSeen ? name : "";
}

void checkEnumString(const std::string& text)
{
    std::string name = getNameFromEnumString(text);
    if (fuzz::sabotage == 1 && text.find('.') == std::string::npos)
    {
        name = text;
    }
    fuzz::require(name == afterLastDot(text),
                  "the name is what stands after the last dot");
}

void checkNames(const std::string& text)
{
    int purpose = static_cast<int>(getVersionPurposeFromName(text));
    int activation = static_cast<int>(getActivationsFromName(text));
    if (fuzz::sabotage == 2 && text == "host")
    {
        purpose = valueOf(purposes, "Host");
    }
    if (fuzz::sabotage == 3 && text == "Staged")
    {
        activation = valueOf(activations, "Staging");
    }
    fuzz::require(purpose == valueOf(purposes, text),
                  "a purpose is found by its own name alone");
    fuzz::require(activation == valueOf(activations, text),
                  "an activation is found by its own name alone");
}

template <typename Convert>
void checkValue(Names names, int value, Convert convert)
{
    const bool known = value >= 0 && value < static_cast<int>(names.size());
    try
    {
        std::string name = convert(value);
        if (fuzz::sabotage == 4 && name == "Unknown")
        {
            name.clear();
        }
        fuzz::require(known && name == names[static_cast<std::size_t>(value)],
                      "the name of a value is that of its enumerator");
    }
    catch (const std::invalid_argument&)
    {
        fuzz::require(!known, "an enumerator has a name");
    }
}

/** From the first bytes, mostly a small one. */
int valueIn(const std::string& text)
{
    int value = 0;
    std::memcpy(&value, text.data(), std::min(text.size(), sizeof(value)));
    return value % 16;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(data, data + size);
    checkEnumString(text);
    checkNames(text);
    checkValue(purposes, valueIn(text), [](int value) {
        return getNameFromVersionPurpose(static_cast<VersionPurpose>(value));
    });
    checkValue(activations, valueIn(text), [](int value) {
        return getNameFromActivations(static_cast<Activations>(value));
    });
    return 0;
}
