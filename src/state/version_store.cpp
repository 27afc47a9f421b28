// SPDX-License-Identifier: Apache-2.0
#include "../paths_and_names.hpp"
#include "../stored_document.hpp"

#include <libfenmarch.hpp>

#include <filesystem>

namespace phosphor::software::updater
{

using namespace fenmarch;

namespace
{

constexpr int succeeded = 0;
constexpr int failed = -1;

} // namespace

int FwManager::saveVersionStringFromInfo(std::string key, std::string value)
{
    StoredDocument state(paths::stateFile, paths::stateLock);
    // The status of the release is ignored here: a save returns the status of
    // the set, which has already written the new document to the disk.
    return state.isOpen() && state.set(name, key, value) == 0 ? succeeded
                                                              : failed;
}

int FwManager::deleteVersionStringFromInfo(std::string key)
{
    StoredDocument state(paths::stateFile, paths::stateLock);
    if (!state.isOpen())
    {
        return failed;
    }
    // The status is ignored: a missing record counts as deleted, and a deletion
    // that fails makes the release fail.
    state.remove(name, key);
    return state.release();
}

std::string FwManager::getVersionStringFromInfo(std::string key)
{
    // Before the load, which would create the lock file.
    if (!std::filesystem::exists(paths::stateFile))
    {
        return "";
    }
    const StoredDocument state(paths::stateFile, paths::stateLock);
    return state.isOpen() ? state.get(name, key.c_str()).value_or("") : "";
}

} // namespace phosphor::software::updater
