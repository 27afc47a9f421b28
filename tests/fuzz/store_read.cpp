// SPDX-License-Identifier: Apache-2.0

/**
 * Loading any file and reading every item of it, without the lock.
 */
#include "fuzz_target.hpp"
#include "json_model.hpp"
#include "memory_file.hpp"

#include <libostrel.h>

#include <cerrno>
#include <memory>

using fuzz::require;

const int fuzz::sabotages = 4;

namespace
{

struct ReleaseHandle
{
    void operator()(json_config_t* config) const
    {
        json_config_release(config);
    }
};
using Handle = std::unique_ptr<json_config_t, ReleaseHandle>;

Handle load(const std::string& path)
{
    errno = 0;
    Handle config(json_config_load(path.c_str(), nullptr, 0));
    if (fuzz::sabotage == 1 && errno == EBADMSG)
    {
        errno = EIO;
    }
    if (fuzz::sabotage == 2)
    {
        config.reset();
    }
    return config;
}

/** An item as a buffer of this size takes it. */
void checkItem(json_config_t* config, const std::string& section,
               const std::string& key, const fuzz::Document& document,
               std::size_t size)
{
    // C strings: where a name holds a NUL, another item may be meant.
    // NOLINTNEXTLINE(readability-redundant-string-cstr)
    const auto text = document.text(section.c_str(), key.c_str());
    const auto buffer = std::make_unique<char[]>(size);
    buffer[0] = '?';
    errno = 0;
    const int result = json_config_get_string(config, section.c_str(),
                                              key.c_str(), buffer.get(), size);
    if (!text)
    {
        require(result == -1 && errno == ENOENT,
                "what is no string item is not found");
        require(buffer[0] == '?', "a failure leaves the buffer");
        return;
    }
    require(result == 0, "a string item is found");
    const std::string expected(fuzz::fitting(*text, size - 1));
    if (fuzz::sabotage == 3 && !expected.empty())
    {
        buffer[expected.size() - 1] = '\0';
    }
    if (fuzz::sabotage == 4 && expected.size() < size - 1)
    {
        buffer[expected.size()] = 'x';
    }
    require(std::string(buffer.get(), expected.size() + 1) ==
                std::string(expected.c_str(), expected.size() + 1),
            "as much of the string as fits is copied, with a NUL behind it");
}

void checkItems(json_config_t* config, const fuzz::Document& document)
{
    constexpr std::size_t usualSize = 256;
    std::size_t smallSize = 1;
    checkItem(config, "", "", document, usualSize);
    for (const auto& [section, key] : document.names())
    {
        checkItem(config, section, key, document, usualSize);
        checkItem(config, section, key, document, smallSize);
        smallSize = smallSize % 16 + 1;
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static fuzz::MemoryFile file;
    const std::string text(data, data + size);
    const auto document = fuzz::Document::read(text);

    file.write(text);
    const Handle config = load(file.path());
    if (config == nullptr)
    {
        require(errno == (text.empty() ? ENOENT : EBADMSG),
                "a document is refused with EBADMSG");
        require(!document.has_value(), "a document is read");
        return 0;
    }
    require(document.has_value(), "what is no document is refused");
    checkItems(config.get(), *document);
    return 0;
}
