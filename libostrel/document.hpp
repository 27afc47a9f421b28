// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json_tokens.hpp"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ostrel
{

/** Where a member of an object stands: its key, with quotes, and its value. */
struct Member
{
    Span key;
    Span value;
};

/** A member of the root; its own members are the items from the first up to
 *  before the end. Without items if it is not an object. */
struct Section : Member
{
    std::uint32_t firstItem;
    std::uint32_t endOfItems;
};

/**
 * A JSON document of sections that hold items: its text, and where its members
 * stand in it. Nothing changes it: with() and without() yield a new document.
 *
 * Whatever runs out of memory here throws std::bad_alloc and leaves nothing
 * behind.
 */
class Document
{
  public:
    /** The empty document. */
    Document() = default;

    /**
     * Reads a document strictly: an object in JSON (RFC 8259) and UTF-8,
     * without a byte order mark, with no duplicate keys in an object, and with
     * at most 2048 levels of objects and arrays.
     * @param text  not longer than Span::longestText
     * @throws std::system_error with EBADMSG
     */
    explicit Document(std::string&& text);

    /** Whether there is such an item, of any type. */
    [[nodiscard]] bool has(std::string_view section,
                           std::string_view key) const noexcept;

    /**
     * The spelling of an item's string, valid as long as the document; nothing
     * when there is no such section or item, or the item is not a string.
     */
    [[nodiscard]] std::optional<std::string_view>
    find(std::string_view section, std::string_view key) const noexcept;

    /**
     * A document in which the item is this string.
     * @throws std::system_error with EILSEQ for text that is not UTF-8, with
     *         EBADMSG when the section is not an object, with EFBIG when 4 GiB
     *         are not enough
     */
    [[nodiscard]] Document with(std::string_view section, std::string_view key,
                                std::string_view value) const;

    /** A document without this item, which is there.
     *  @throws std::system_error with EFBIG, as with() */
    [[nodiscard]] Document without(std::string_view section,
                                   std::string_view key) const;

    /**
     * The text: as it was read, or after a change indented by four spaces and
     * with a newline at its end. A change leaves the other tokens as they are.
     */
    [[nodiscard]] const std::string& text() const noexcept;

  private:
    class Reader;
    class Writer;
    struct Change;

    [[nodiscard]] bool isObject(const Section& section) const noexcept;
    [[nodiscard]] std::span<const Member>
    itemsOf(const Section& section) const noexcept;
    [[nodiscard]] const Section*
    findSection(std::string_view name) const noexcept;
    [[nodiscard]] const Member* findItem(std::string_view section,
                                         std::string_view key) const noexcept;

    std::string json;
    std::vector<Section> sections;
    /** Of all sections, in the order of the text. */
    std::vector<Member> items;
};

} // namespace ostrel
