#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/**
 * What the JSON store is to make of a text, by a reader of our own that shares
 * nothing with the parser below the store.
 */
namespace fuzz
{

struct Item
{
    std::string key;
    /** Nothing for a value that is no string. */
    std::optional<std::string> text;
    /** What such a value consists of. */
    std::string other = {};

    bool operator==(const Item&) const = default;
};

struct Section
{
    std::string name;
    bool isObject = false;
    std::vector<Item> items;
    /** What a section that is no object consists of. */
    std::string other = {};

    bool operator==(const Section&) const = default;
};

/** The items of a document, in its own order. */
class Sections : public std::vector<Section>
{
  public:
    [[nodiscard]] const Section* find(std::string_view name) const;

    /** The string of an item. */
    [[nodiscard]] std::optional<std::string> text(std::string_view section,
                                                  std::string_view key) const;

    void set(const std::string& section, const std::string& key,
             const std::string& text);

    void remove(std::string_view section, std::string_view key);
};

/** @return nothing where the text is no document */
std::optional<Sections> readModel(std::string_view text);

bool isUtf8(std::string_view text);

/** As much of a text of valid UTF-8 as fits, without tearing a character. */
std::string_view fitting(std::string_view text, std::size_t most);

} // namespace fuzz
