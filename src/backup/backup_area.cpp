// SPDX-License-Identifier: Apache-2.0
#include <libfenmarch.hpp>

#include <filesystem>

namespace phosphor::software::updater
{

bool FwManager::getImageBackupMountStatus()
{
    // With any other number of entries there is no condition.
    constexpr size_t entriesOfACondition = 2;

    const auto entries = getImageBackupMount();
    return entries.size() != entriesOfACondition ||
           (std::filesystem::exists(entries[0]) &&
            std::filesystem::exists(entries[1]));
}

std::string FwManager::getBackupImagePath()
{
    loadConfigContent();
    return getImageBackupMountStatus() ? imageBackupPath : "";
}

} // namespace phosphor::software::updater
