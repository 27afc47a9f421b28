// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "fuzz_target.hpp"

// What the parser holds for certain fails like a property, instead of ending
// the process. In one place, because all sources have to see the same parser.
#define JSON_ASSERT(condition) fuzz::require(condition, #condition)
#include <nlohmann/json.hpp>

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/**
 * What the JSON store is to make of a text, by nlohmann-json, which shares
 * nothing with the store.
 */
namespace fuzz
{

class Document
{
  public:
    using Json = nlohmann::ordered_json;

    /** @return nothing where the store has to refuse the text */
    static std::optional<Document> read(std::string_view text);

    /** Section and key of each item; each section with an empty key too. */
    [[nodiscard]] std::vector<std::pair<std::string, std::string>>
    names() const;

    /** Whether there is a member of this name that is no object. */
    [[nodiscard]] bool isBlocked(std::string_view section) const;

    /** The string of an item. */
    [[nodiscard]] std::optional<std::string> text(std::string_view section,
                                                  std::string_view key) const;

    void set(std::string_view section, std::string_view key,
             std::string_view text);

    void remove(std::string_view section, std::string_view key);

    /** The text that the store has to write. */
    [[nodiscard]] std::string written() const;

  private:
    /** Each name, string, number and word is a string that spells it. */
    Json root = Json::object();
};

/** What nlohmann-json and the store do not both read, or both refuse. */
struct Disagreement
{
    /** The rule of nlohmann-json. */
    const char* rule;
    std::string example;
    bool isReadByTheStore;
    bool (*appliesTo)(std::string_view text);
};

/** In the order in which they correct what nlohmann-json says. */
const std::vector<Disagreement>& disagreements();

bool isUtf8(std::string_view text);

/** As much of a text of valid UTF-8 as fits, without tearing a character. */
std::string_view fitting(std::string_view text, std::size_t most);

} // namespace fuzz
