// SPDX-License-Identifier: Apache-2.0
#include "document.hpp"
#include "errors.hpp"
#include "json_string.hpp"

#include <utility>

namespace ostrel
{

namespace
{

void startLine(std::string& json, size_t level)
{
    constexpr size_t indentation = 4;
    json += '\n';
    json.append(level * indentation, ' ');
}

bool opens(TokenKind kind)
{
    return kind == TokenKind::objectStart || kind == TokenKind::arrayStart;
}

bool closes(TokenKind kind)
{
    return kind == TokenKind::objectEnd || kind == TokenKind::arrayEnd;
}

/** Appends a value, with a line for each member and element.
 *  @param level  on which its own line stands */
void appendIndented(std::string& json, std::string_view value, size_t level)
{
    if (value.front() != '{' && value.front() != '[')
    {
        json += value;
        return;
    }
    Tokens tokens(value);
    Token token = tokens.next();
    json += token.place.of(value);
    while (tokens.depth() > 0)
    {
        const TokenKind before = token.kind;
        const size_t depth = tokens.depth();
        token = tokens.next();
        const bool ends = closes(token.kind);
        if (before == TokenKind::key)
        {
            json += ": ";
        }
        else if (!opens(before) || !ends)
        {
            json += opens(before) || ends ? "" : ",";
            startLine(json, level + depth - (ends ? 1 : 0));
        }
        json += token.place.of(value);
    }
}

} // namespace

/** An item that is to become another string, or to go. */
struct Document::Change
{
    /** Null for a new section, which comes last. */
    const Section* section;
    /** Null for a new item, which comes last in its section. */
    const Member* item;
    std::string name;
    std::string key;
    /** Empty for an item that is to go. */
    std::string value;
};

/** Writes a document from the start to the end. */
class Document::Writer
{
  public:
    explicit Writer(Document& empty) : document(empty), json(empty.json)
    {
    }

    void write(const Document& before, const Change& change)
    {
        json.reserve(before.json.size() + change.value.size());
        document.sections.reserve(before.sections.size() + 1);
        document.items.reserve(before.items.size() + 1);
        for (const Section& section : before.sections)
        {
            startSection(section.key.of(before.json));
            if (before.isObject(section))
            {
                writeItems(before, section, change);
                endObject();
            }
            else
            {
                appendIndented(json, section.value.of(before.json), 1);
            }
            endSection();
        }
        if (change.section == nullptr)
        {
            startSection(change.name);
            writeItem(change.key, change.value);
            endObject();
            endSection();
        }
        startLine(json, 0);
        json += "}\n";
        require(json.size() <= Span::longestText, EFBIG);
    }

  private:
    void writeItems(const Document& before, const Section& section,
                    const Change& change)
    {
        for (const Member& item : before.itemsOf(section))
        {
            const bool changes = &item == change.item;
            if (!changes || !change.value.empty())
            {
                writeItem(item.key.of(before.json),
                          changes ? change.value : item.value.of(before.json));
            }
        }
        if (&section == change.section && change.item == nullptr)
        {
            writeItem(change.key, change.value);
        }
    }

    [[nodiscard]] std::uint32_t position() const
    {
        return static_cast<std::uint32_t>(json.size());
    }

    /** Writes up to where a member's value starts. */
    Member startMember(std::string_view key, bool isFirst, size_t level)
    {
        json += isFirst ? "{" : ",";
        startLine(json, level);
        const Span place{position(), static_cast<std::uint32_t>(key.size())};
        json += key;
        json += ": ";
        return {place, {position(), 0}};
    }

    void startSection(std::string_view name)
    {
        const auto first = static_cast<std::uint32_t>(document.items.size());
        document.sections.push_back(
            {startMember(name, document.sections.empty(), 1), first, first});
    }

    void writeItem(std::string_view key, std::string_view value)
    {
        Member item = startMember(key, isEmpty(), 2);
        appendIndented(json, value, 2);
        item.value.length = position() - item.value.start;
        document.items.push_back(item);
    }

    void endObject()
    {
        if (isEmpty())
        {
            json += "{";
        }
        else
        {
            startLine(json, 1);
        }
        json += "}";
    }

    void endSection()
    {
        Section& section = document.sections.back();
        section.value.length = position() - section.value.start;
        section.endOfItems = static_cast<std::uint32_t>(document.items.size());
    }

    /** Whether the section that is being written has no items yet. */
    [[nodiscard]] bool isEmpty() const
    {
        return document.items.size() == document.sections.back().firstItem;
    }

    Document& document;
    std::string& json;
};

Document Document::with(std::string_view section, std::string_view key,
                        std::string_view value) const
{
    const Change change{findSection(section), findItem(section, key),
                        quoted(section), quoted(key), quoted(value)};
    require(change.section == nullptr || isObject(*change.section), EBADMSG);
    Document changed;
    Writer(changed).write(*this, change);
    return changed;
}

Document Document::without(std::string_view section, std::string_view key) const
{
    Document changed;
    Writer(changed).write(
        *this, {findSection(section), findItem(section, key), {}, {}, {}});
    return changed;
}

} // namespace ostrel
