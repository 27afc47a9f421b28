#pragma once

#include <jansson.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace ostrel
{

/**
 * A JSON document of sections that hold items, in memory. Nothing changes it:
 * with() and without() yield a new document that shares what is the same.
 */
class Document
{
  public:
    /** The empty document. @throws std::bad_alloc */
    Document();

    /** @throws std::system_error with EBADMSG, or with ENOMEM */
    explicit Document(std::string_view text);

    /** Whether there is such an item, of any type. */
    [[nodiscard]] bool has(const char* section, const char* key) const noexcept;

    /**
     * The string of an item, valid as long as the document; nothing when there
     * is no such section or item, or the item is no string.
     */
    [[nodiscard]] std::optional<std::string_view>
    find(const char* section, const char* key) const noexcept;

    /**
     * A document in which the item is this string.
     * @throws std::system_error with EILSEQ for text that is no UTF-8, with
     *         EBADMSG when the section is no object, or with ENOMEM
     */
    [[nodiscard]] Document with(const char* section, const char* key,
                                const char* value) const;

    /**
     * A document without the item, which has to be there.
     * @throws std::system_error with ENOMEM
     */
    [[nodiscard]] Document without(const char* section, const char* key) const;

    /**
     * The text of the document as it stands in a file: indented by four
     * spaces, in the document's own order, with a newline at the end.
     * @throws std::system_error with ENOMEM, or std::bad_alloc
     */
    [[nodiscard]] std::string text() const;

  private:
    struct Release
    {
        void operator()(json_t* value) const noexcept
        {
            json_decref(value);
        }
    };
    using Value = std::unique_ptr<json_t, Release>;

    explicit Document(Value object) noexcept;

    [[nodiscard]] const json_t* get(const char* section,
                                    const char* key) const noexcept;

    [[nodiscard]] Document replacing(const char* section, Value content) const;

    Value root;
};

} // namespace ostrel
