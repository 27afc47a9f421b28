#include "json_config.hpp"

#include "document_reader.hpp"
#include "errors.hpp"
#include "libostrel.h"
#include "regular_file.hpp"

#include <memory>
#include <string_view>

using ostrel::Document;
using ostrel::guarded;
using ostrel::require;

namespace
{

constexpr int success = 0;
constexpr int failed = -1;

Document readFile(const json_config& config)
{
    const auto text = ostrel::readRegularFile(config.path);
    if (text && !text->empty())
    {
        return ostrel::readDocument(*text);
    }
    require(config.lock.has_value(), ENOENT);
    return Document();
}

/** How much of a text of valid UTF-8 fits, without tearing a character. */
size_t fittingLength(std::string_view text, size_t most)
{
    const auto continuesCharacter = [&](size_t position) {
        return (static_cast<unsigned char>(text[position]) & 0xC0U) == 0x80U;
    };
    if (text.size() <= most)
    {
        return text.size();
    }
    size_t length = most;
    while (length > 0 && continuesCharacter(length))
    {
        --length;
    }
    return length;
}

void requireChangeable(const json_config& config)
{
    require(config.lock.has_value(), EBADF);
    require(config.failure == 0, config.failure);
}

/**
 * Takes over the document that the edit yields, once it is staged. A failure
 * ends the whole transaction: the changes staged so far share the temporary.
 */
template <typename Edit>
void stage(json_config& config, Edit edit)
{
    try
    {
        Document changed = edit();
        config.staged.reset();
        config.staged.emplace(config.path, changed.text());
        config.document = std::move(changed);
    }
    catch (...)
    {
        config.failure = ostrel::currentError();
        throw;
    }
}

} // namespace

json_config_t* json_config_load(const char* path, const char* lock_path,
                                unsigned int flags)
{
    return guarded(static_cast<json_config_t*>(nullptr), [&] {
        require(path != nullptr && flags == 0, EINVAL);
        auto config = std::make_unique<json_config>();
        config->path = path;
        if (lock_path != nullptr)
        {
            config->lock.emplace(lock_path);
        }
        config->document = readFile(*config);
        return config.release();
    });
}

int json_config_get_string(json_config_t* config, const char* section,
                           const char* key, char* buffer, size_t size)
{
    return guarded(failed, [&] {
        require(config != nullptr && section != nullptr && key != nullptr &&
                    buffer != nullptr && size != 0,
                EINVAL);
        const auto text = config->document.find(section, key);
        require(text.has_value(), ENOENT);
        buffer[text->copy(buffer, fittingLength(*text, size - 1))] = '\0';
        return success;
    });
}

int json_config_set_string(json_config_t* config, const char* section,
                           const char* key, const char* value)
{
    return guarded(failed, [&] {
        require(config != nullptr && section != nullptr && key != nullptr &&
                    value != nullptr,
                EINVAL);
        requireChangeable(*config);
        if (config->document.find(section, key) == value)
        {
            return success;
        }
        Document changed = config->document.with(section, key, value);
        stage(*config, [&] { return std::move(changed); });
        return success;
    });
}

int json_config_delete_item(json_config_t* config, const char* section,
                            const char* key)
{
    return guarded(failed, [&] {
        require(config != nullptr && section != nullptr && key != nullptr,
                EINVAL);
        requireChangeable(*config);
        require(config->document.has(section, key), ENOENT);
        // Made within the staging: the caller may look at the release alone.
        stage(*config, [&] { return config->document.without(section, key); });
        return success;
    });
}

int json_config_release(json_config_t* config)
{
    return guarded(failed, [&] {
        require(config != nullptr, EINVAL);
        const std::unique_ptr<json_config> owned(config);
        require(owned->failure == 0, owned->failure);
        if (owned->staged)
        {
            owned->staged->commit();
        }
        return success;
    });
}
