// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/child.hpp"
#include "support/files.hpp"
#include "support/mount.hpp"

#include <gtest/gtest.h>
#include <libostrel.h>

#include <cerrno>
#include <memory>
#include <string>

/** A handle that is released at the end of the test at the latest. */
struct ReleaseHandle
{
    void operator()(json_config_t* config) const
    {
        json_config_release(config);
    }
};
using Handle = std::unique_ptr<json_config_t, ReleaseHandle>;

/** A document and its lock in a scratch directory. */
class StoreTest : public testing::Test
{
  public:
    /** Loads with the lock. */
    Handle load() const
    {
        return Handle(json_config_load(document.c_str(), lock.c_str(), 0));
    }

    /** Loads for reading, without the lock. */
    Handle loadReadOnly() const
    {
        return Handle(json_config_load(document.c_str(), nullptr, 0));
    }

    /** Whether flock(1) gets the lock at once. */
    bool lockIsFree() const
    {
        const auto attempt =
            support::run({"flock", "--nonblock", lock, "true"});
        EXPECT_TRUE(attempt.status == 0 || attempt.status == 1)
            << attempt.output;
        return attempt.status == 0;
    }

    /** One set from load to release; the results of both in turn. */
    std::pair<int, int> set(const char* section, const char* key,
                            const char* value) const
    {
        Handle config = load();
        const int result =
            json_config_set_string(config.get(), section, key, value);
        return {result, json_config_release(config.release())};
    }

    /** One deletion from load to release; the result of the release. */
    int deleteItem(const char* section, const char* key) const
    {
        Handle config = load();
        EXPECT_EQ(json_config_delete_item(config.get(), section, key), 0);
        return json_config_release(config.release());
    }

    /** The string of an item, or "(none)". */
    static std::string get(const Handle& config, const char* section,
                           const char* key)
    {
        char buffer[256] = "";
        return json_config_get_string(config.get(), section, key, buffer,
                                      sizeof(buffer)) == 0
                   ? buffer
                   : "(none)";
    }

    const support::ScratchDirectory scratch;
    const std::filesystem::path directory = scratch.path / "state";
    const std::filesystem::path document = directory / "document.json";
    const std::filesystem::path temporary = directory / "document.json.tmp";
    const std::filesystem::path lock = scratch.path / "lock" / "document.lock";
};
