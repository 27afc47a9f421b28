#include "document.hpp"

#include "errors.hpp"
#include "json_text.hpp"

#include <algorithm>

namespace ostrel
{

namespace
{

/** The member of this name, or the end. */
auto member(auto& members, auto name, std::string_view wanted)
{
    return std::ranges::find(members, wanted, name);
}

void requireText(std::string_view text)
{
    // The form in which it goes to the file exists for valid text alone.
    static_cast<void>(stringJson(text));
}

Items& itemsOf(std::vector<Section>& sections, std::string_view name)
{
    const auto known = member(sections, &Section::name, name);
    if (known == sections.end())
    {
        sections.push_back({std::string(name), Items()});
        return std::get<Items>(sections.back().content);
    }
    auto* const items = std::get_if<Items>(&known->content);
    require(items != nullptr, EBADMSG);
    return *items;
}

std::string jsonOf(const Item& item)
{
    const auto* const string = std::get_if<std::string>(&item.value);
    return stringJson(item.key) + ':' +
           (string != nullptr ? stringJson(*string)
                              : std::get<Foreign>(item.value).json);
}

/** An object of members, whose texts the function makes. */
std::string objectOf(const auto& members, auto json)
{
    std::string text = "{";
    for (const auto& each : members)
    {
        text += text.size() == 1 ? "" : ",";
        text += json(each);
    }
    return text + '}';
}

std::string jsonOf(const Section& section)
{
    const auto* const items = std::get_if<Items>(&section.content);
    return stringJson(section.name) + ':' +
           (items != nullptr
                ? objectOf(*items,
                           [](const Item& item) { return jsonOf(item); })
                : std::get<Foreign>(section.content).json);
}

} // namespace

Document::Document(std::vector<Section>&& known) noexcept :
    sections(std::move(known))
{
}

bool Document::has(std::string_view section,
                   std::string_view key) const noexcept
{
    return get(section, key) != nullptr;
}

std::optional<std::string_view>
Document::find(std::string_view section, std::string_view key) const noexcept
{
    const Item* const item = get(section, key);
    const auto* const string =
        item != nullptr ? std::get_if<std::string>(&item->value) : nullptr;
    return string != nullptr ? std::optional<std::string_view>(*string)
                             : std::nullopt;
}

const Item* Document::get(std::string_view section,
                          std::string_view key) const noexcept
{
    const auto known = member(sections, &Section::name, section);
    const auto* const items =
        known != sections.end() ? std::get_if<Items>(&known->content) : nullptr;
    if (items == nullptr)
    {
        return nullptr;
    }
    const auto item = member(*items, &Item::key, key);
    return item != items->end() ? &*item : nullptr;
}

Document Document::with(std::string_view section, std::string_view key,
                        std::string_view value) const
{
    for (const auto part : {section, key, value})
    {
        requireText(part);
    }
    Document changed(*this);
    Items& items = itemsOf(changed.sections, section);
    const auto known = member(items, &Item::key, key);
    if (known != items.end())
    {
        known->value = std::string(value);
    }
    else
    {
        items.push_back({std::string(key), std::string(value)});
    }
    return changed;
}

Document Document::without(std::string_view section, std::string_view key) const
{
    Document changed(*this);
    std::erase_if(itemsOf(changed.sections, section),
                  [&](const Item& item) { return item.key == key; });
    return changed;
}

std::string Document::text() const
{
    return indented(objectOf(
               sections,
               [](const Section& section) { return jsonOf(section); })) +
           '\n';
}

} // namespace ostrel
