// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "document.hpp"
#include "lock_file.hpp"
#include "staged_file.hpp"

#include <optional>
#include <string>

/** What stands behind a handle: one transaction on one file. */
struct json_config
{
    std::string path;
    /** None in a handle that can only be read from. */
    std::optional<ostrel::LockFile> lock;
    /** The document with the changes so far. */
    ostrel::Document document;
    /** After the lock, so that it is gone before the lock is dropped. */
    std::optional<ostrel::StagedFile> staged;
    /** The errno of the first change that could not be written, or 0. */
    int failure = 0;
};
