// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <libostrel.h>

#include <memory>
#include <optional>
#include <string>

namespace fenmarch
{

/** A document of the JSON store, from its load to its release. */
class StoredDocument
{
  public:
    /** Loads the document; isOpen() returns whether that succeeded. */
    explicit StoredDocument(const char* file, const char* lock = nullptr) :
        handle(json_config_load(file, lock, 0))
    {
    }

    [[nodiscard]] bool isOpen() const
    {
        return handle != nullptr;
    }

    /** The string of an item, cut to the length that the system reads. */
    [[nodiscard]] std::optional<std::string> get(const std::string& section,
                                                 const char* key) const
    {
        char buffer[readSizeBytes] = "";
        if (json_config_get_string(handle.get(), section.c_str(), key, buffer,
                                   sizeof(buffer)) != 0)
        {
            return std::nullopt;
        }
        return buffer;
    }

    /** @return 0 or nonzero, as the store's function */
    int set(const std::string& section, const std::string& key,
            const std::string& value)
    {
        return json_config_set_string(handle.get(), section.c_str(),
                                      key.c_str(), value.c_str());
    }

    /** @return 0 or nonzero, as the store's function */
    int remove(const std::string& section, const std::string& key)
    {
        return json_config_delete_item(handle.get(), section.c_str(),
                                       key.c_str());
    }

    /** Releases the document now and returns the status. */
    int release()
    {
        return json_config_release(handle.release());
    }

  private:
    static constexpr size_t readSizeBytes = 256;

    struct Release
    {
        void operator()(json_config_t* opened) const
        {
            json_config_release(opened);
        }
    };

    std::unique_ptr<json_config_t, Release> handle;
};

} // namespace fenmarch
