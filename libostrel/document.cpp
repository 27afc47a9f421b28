#include "document.hpp"

#include "errors.hpp"

namespace ostrel
{

namespace
{

/** Passes a result of jansson on. @throws std::system_error when it is null */
json_t* checkMemory(json_t* value)
{
    require(value != nullptr, ENOMEM);
    return value;
}

/**
 * Runs a call of jansson that takes text, and tells why it failed: jansson
 * itself does not, but when it was the memory then malloc has set errno.
 */
template <typename Call>
auto checkText(Call call)
{
    errno = EILSEQ;
    const auto result = call();
    const int error = errno;
    require(result, error);
    return result;
}

/** A copy of an object that shares its members. */
json_t* copy(json_t* object)
{
    json_t* const result = checkMemory(json_copy(object));
    if (json_object_size(result) != json_object_size(object))
    {
        // jansson leaves a member out when the memory for it is missing.
        json_decref(result);
        fail(ENOMEM);
    }
    return result;
}

json_t* parse(std::string_view text)
{
    // NULs are let in, because other members of the document are not ours to
    // refuse.
    constexpr size_t flags = JSON_REJECT_DUPLICATES | JSON_ALLOW_NUL;
    json_error_t error{};
    json_t* const root = json_loadb(text.data(), text.size(), flags, &error);
    if (root == nullptr)
    {
        // jansson leaves the code unset where an object could not be made.
        const auto code = json_error_code(&error);
        fail(code == json_error_out_of_memory || code == json_error_unknown
                 ? ENOMEM
                 : EBADMSG);
    }
    return root;
}

} // namespace

Document::Document() : root(checkMemory(json_object()))
{
}

Document::Document(std::string_view text) : root(parse(text))
{
    require(json_is_object(root.get()), EBADMSG);
}

Document::Document(Value object) noexcept : root(std::move(object))
{
}

bool Document::has(const char* section, const char* key) const noexcept
{
    return get(section, key) != nullptr;
}

std::optional<std::string_view> Document::find(const char* section,
                                               const char* key) const noexcept
{
    const json_t* const item = get(section, key);
    if (!json_is_string(item))
    {
        return std::nullopt;
    }
    return std::string_view(json_string_value(item), json_string_length(item));
}

const json_t* Document::get(const char* section, const char* key) const noexcept
{
    return json_object_get(json_object_get(root.get(), section), key);
}

Document Document::with(const char* section, const char* key,
                        const char* value) const
{
    json_t* const old = json_object_get(root.get(), section);
    require(old == nullptr || json_is_object(old), EBADMSG);

    Value content(old != nullptr ? copy(old) : checkMemory(json_object()));
    Value item(checkText([&] { return json_string(value); }));
    checkText(
        [&] { return json_object_set(content.get(), key, item.get()) == 0; });
    return replacing(section, std::move(content));
}

Document Document::without(const char* section, const char* key) const
{
    Value content(copy(json_object_get(root.get(), section)));
    json_object_del(content.get(), key);
    return replacing(section, std::move(content));
}

Document Document::replacing(const char* section, Value content) const
{
    Value changed(copy(root.get()));
    checkText([&] {
        return json_object_set(changed.get(), section, content.get()) == 0;
    });
    return Document(std::move(changed));
}

std::string Document::text() const
{
    // Into a buffer of ours: where jansson grows its own, it does not look
    // whether the memory for a key was there.
    constexpr size_t flags = JSON_INDENT(4);
    std::string text(json_dumpb(root.get(), nullptr, 0, flags), '\0');
    require(json_dumpb(root.get(), text.data(), text.size(), flags) ==
                    text.size() &&
                !text.empty(),
            ENOMEM);
    return text + '\n';
}

} // namespace ostrel
