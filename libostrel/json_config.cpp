// SPDX-License-Identifier: Apache-2.0
#include "json_config.hpp"

#include "errors.hpp"
#include "json_string.hpp"
#include "libostrel.h"
#include "regular_file.hpp"

#include <memory>
#include <string_view>
#include <utility>

using ostrel::Document;
using ostrel::guarded;
using ostrel::require;

namespace
{

constexpr int success = 0;
constexpr int failed = -1;

Document readFile(const json_config& config)
{
    auto text = ostrel::readRegularFile(config.path, ostrel::Span::longestText);
    if (text && !text->empty())
    {
        return Document(std::move(*text));
    }
    require(config.lock.has_value(), ENOENT);
    return Document();
}

void requireChangeable(const json_config& config)
{
    require(config.lock.has_value(), EBADF);
    require(config.failure == 0, config.failure);
}

/** Writes a changed document beside the file, and takes it over. */
void stage(json_config& config, Document&& changed)
{
    config.staged.emplace(config.path, changed.text());
    config.document = std::move(changed);
}

/** Runs a step whose failure ends the whole transaction: the changes staged so
 *  far share its temporary, or the caller looks at the release only. */
template <typename Step>
void orEndTransaction(json_config& config, Step step)
{
    try
    {
        step();
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
        const auto spelling = config->document.find(section, key);
        require(spelling.has_value(), ENOENT);
        buffer[ostrel::copyText(*spelling, buffer, size - 1)] = '\0';
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
        const auto spelling = config->document.find(section, key);
        if (spelling && ostrel::spells(*spelling, value))
        {
            return success;
        }
        Document changed = config->document.with(section, key, value);
        orEndTransaction(*config, [&] { stage(*config, std::move(changed)); });
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
        orEndTransaction(*config, [&] {
            stage(*config, config->document.without(section, key));
        });
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
