// SPDX-License-Identifier: Apache-2.0
#include "document.hpp"

#include "duplicate_keys.hpp"
#include "errors.hpp"
#include "json_string.hpp"

#include <algorithm>
#include <utility>

namespace ostrel
{

/** Finds the members of a document in its text. */
class Document::Reader
{
  public:
    explicit Reader(Document& empty) :
        document(empty),
        tokens(empty.json),
        duplicates(empty.json, expectedItems())
    {
        document.items.reserve(expectedItems());
    }

    void read()
    {
        require(next().kind == TokenKind::objectStart, EBADMSG);
        while (next().kind == TokenKind::key)
        {
            readSection();
        }
        // The end, or what may not stand behind it.
        next();
        require(duplicates.places().empty(), EBADMSG);
    }

  private:
    /** Rarely too few, and in less memory than the text takes. */
    [[nodiscard]] size_t expectedItems() const
    {
        constexpr size_t bytesOfAnItem = 32;
        return document.json.size() / bytesOfAnItem;
    }

    Token next()
    {
        token = tokens.next();
        require(token.kind != TokenKind::mistake, EBADMSG);
        duplicates.take(token);
        return token;
    }

    void readSection()
    {
        Section section{{token.place, {}},
                        static_cast<std::uint32_t>(document.items.size()),
                        0};
        const std::uint32_t start = next().place.start;
        if (token.kind == TokenKind::objectStart)
        {
            while (next().kind == TokenKind::key)
            {
                readItem();
            }
        }
        section.value = restOfValue(start, 1);
        section.endOfItems = static_cast<std::uint32_t>(document.items.size());
        document.sections.push_back(section);
    }

    void readItem()
    {
        const Span key = token.place;
        const std::uint32_t start = next().place.start;
        document.items.push_back({key, restOfValue(start, 2)});
    }

    /** Goes to the end of a value that starts here, below so many levels. */
    Span restOfValue(std::uint32_t start, size_t levels)
    {
        while (tokens.depth() > levels)
        {
            next();
        }
        const Span last = token.place;
        return {start, last.start + last.length - start};
    }

    Document& document;
    Tokens tokens;
    DuplicateKeys duplicates;
    Token token{};
};

Document::Document(std::string&& text) : json(std::move(text))
{
    Reader(*this).read();
}

bool Document::has(std::string_view section,
                   std::string_view key) const noexcept
{
    return findItem(section, key) != nullptr;
}

std::optional<std::string_view>
Document::find(std::string_view section, std::string_view key) const noexcept
{
    const Member* const item = findItem(section, key);
    return item != nullptr && json[item->value.start] == '"'
               ? std::optional(item->value.of(json))
               : std::nullopt;
}

const std::string& Document::text() const noexcept
{
    return json;
}

bool Document::isObject(const Section& section) const noexcept
{
    return json[section.value.start] == '{';
}

std::span<const Member> Document::itemsOf(const Section& section) const noexcept
{
    return {items.data() + section.firstItem,
            items.data() + section.endOfItems};
}

const Section* Document::findSection(std::string_view name) const noexcept
{
    const auto found = std::ranges::find_if(sections, [&](const Section& each) {
        return spells(each.key.of(json), name);
    });
    return found != sections.end() ? &*found : nullptr;
}

const Member* Document::findItem(std::string_view section,
                                 std::string_view key) const noexcept
{
    const Section* const known = findSection(section);
    if (known == nullptr)
    {
        return nullptr;
    }
    const auto own = itemsOf(*known);
    const auto found = std::ranges::find_if(own, [&](const Member& each) {
        return spells(each.key.of(json), key);
    });
    return found != own.end() ? &*found : nullptr;
}

} // namespace ostrel
