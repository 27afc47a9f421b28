#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace ostrel
{

/** A value that is none of ours, as JSON text without blanks. */
struct Foreign
{
    std::string json;
};

struct Item
{
    std::string key;
    std::variant<std::string, Foreign> value;
};

using Items = std::vector<Item>;

struct Section
{
    std::string name;
    std::variant<Items, Foreign> content;
};

/**
 * A JSON document of sections that hold items, in memory and in its own order.
 * Nothing changes it: with() and without() yield a new document.
 *
 * Whatever runs out of memory here throws std::bad_alloc and leaves nothing
 * behind.
 */
class Document
{
  public:
    /** The empty document. */
    Document() = default;

    explicit Document(std::vector<Section>&& known) noexcept;

    /** Whether there is such an item, of any type. */
    [[nodiscard]] bool has(std::string_view section,
                           std::string_view key) const noexcept;

    /**
     * The string of an item, valid as long as the document; nothing when there
     * is no such section or item, or the item is no string.
     */
    [[nodiscard]] std::optional<std::string_view>
    find(std::string_view section, std::string_view key) const noexcept;

    /**
     * A document in which the item is this string.
     * @throws std::system_error with EILSEQ for text that is no UTF-8, with
     *         EBADMSG when the section is no object
     */
    [[nodiscard]] Document with(std::string_view section, std::string_view key,
                                std::string_view value) const;

    /** A document without the item. */
    [[nodiscard]] Document without(std::string_view section,
                                   std::string_view key) const;

    /**
     * The text of the document as it stands in a file: indented by four
     * spaces, with a newline at the end.
     */
    [[nodiscard]] std::string text() const;

  private:
    [[nodiscard]] const Item* get(std::string_view section,
                                  std::string_view key) const noexcept;

    std::vector<Section> sections;
};

} // namespace ostrel
