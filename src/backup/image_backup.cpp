// SPDX-License-Identifier: Apache-2.0
#include "../../os/cancellation.hpp"
#include "../../os/directories.hpp"
#include "../../os/files.hpp"
#include "../text_file.hpp"
#include "image_copy.hpp"

#include <libfenmarch.hpp>
#include <phosphor-logging/lg2.hpp>

#include <filesystem>
#include <optional>

namespace phosphor::software::updater
{

using namespace fenmarch;

namespace
{

namespace fs = std::filesystem;

/** The backup directory of one firmware and its two slots. */
struct BackupDirectory
{
    std::string path;
    std::string verifying = path + "/verifying";
    std::string verified = path + "/verified";
};

/** Nothing when the backup area must not be used. */
std::optional<BackupDirectory> backupDirectoryOf(FwManager& manager)
{
    const std::string root = manager.getBackupImagePath();
    if (root.empty())
    {
        return std::nullopt;
    }
    return BackupDirectory{root + (root.ends_with('/') ? "" : "/") +
                           manager.name};
}

std::string imageIn(const std::string& directory)
{
    return directory + "/firmware.tar";
}

constexpr auto versionName = "version";

std::string versionFileIn(const std::string& slot)
{
    return slot + "/" + versionName;
}

/** Removes the version file first: after a power cut, a version without its
 *  image would look like a complete slot. Of a slot that is a symbolic link
 *  only the link is removed. */
void removeSlot(const std::string& slot)
{
    os::removeAndSynchronise(slot, versionName);
    std::error_code ignored;
    fs::remove_all(slot, ignored);
}

/**
 * Waits until a directory is on the disk, and the directories above it on the
 * same device: a backup that was killed may have created them. Directories
 * above the mount point existed before the mount. Every kernel reports devices,
 * so they show the mount point. A bind mount has the same device on both sides
 * of its mount point: there more is synchronised than necessary.
 */
void synchroniseWithParents(const std::string& directory)
{
    const auto device = os::deviceOf(directory);
    std::string current;
    std::string next = directory;
    do
    {
        current = std::move(next);
        const auto other = os::deviceOf(current);
        const bool onAnotherDevice = device && other && *device != *other;
        if (!onAnotherDevice)
        {
            os::synchronise(current);
        }
        next = os::directoryOf(current);
    } while (next != current);
}

/** The slot and the directories above it, with the defaults of the process
 *  for their mode. */
void createSlot(const std::string& slot)
{
    constexpr mode_t newDirectoryMode = 0777;
    os::createDirectories(slot, newDirectoryMode, os::Lasting::no);
}

/** Reads the first word. If there is none, the version does not change. */
void readVersion(const std::string& slot, std::string& version)
{
    if (auto word = readFirstWord(versionFileIn(slot)))
    {
        version = std::move(*word);
    }
}

} // namespace

// No failure below ends an operation or is reported: the content of a slot
// shows the result.

void FwManager::backupImage(const std::string& src, const std::string& version)
{
    const os::CancellationHeldOff held;
    if (!fs::exists(src))
    {
        lg2::error("{NAME}: Backup firmware src path not exists {PATH}", "NAME",
                   name, "PATH", src);
        return;
    }
    const auto backup = backupDirectoryOf(*this);
    if (!backup)
    {
        lg2::error("{NAME}: Backup firmware dest path not exists {PATH}",
                   "NAME", name, "PATH", std::string());
        return;
    }
    const std::string& slot = backup->verifying;

    removeSlot(slot);
    createSlot(slot);
    copyImage(imageIn(src), imageIn(slot));
    // The copy and its name are on the disk before the original is removed.
    synchroniseWithParents(slot);
    std::error_code ignored;
    fs::remove(imageIn(src), ignored);
    writeText(versionFileIn(slot), {version});
}

void FwManager::verifyBackupImage(const std::string& running)
{
    const os::CancellationHeldOff held;
    const auto backup = backupDirectoryOf(*this);
    if (!backup)
    {
        return;
    }
    const std::string& slot = backup->verifying;
    if (!fs::exists(slot))
    {
        return;
    }
    std::string verifying;
    readVersion(slot, verifying);
    lg2::info("{NAME}: Verify backup firmware: {RUNNING} vs {VERIFYING}",
              "NAME", name, "RUNNING", running, "VERIFYING", verifying);
    if (verifying != running)
    {
        return;
    }
    // Any program may have filled the slot. The rename may reach the disk
    // before the files: a power cut would leave a verified slot with empty
    // files.
    for (const auto& path : {imageIn(slot), versionFileIn(slot), slot})
    {
        os::synchronise(path);
    }
    removeSlot(backup->verified);
    std::error_code ignored;
    fs::rename(slot, backup->verified, ignored);
    os::synchronise(backup->path);
}

std::string FwManager::getVerifiedBackupImagePath()
{
    const auto backup = backupDirectoryOf(*this);
    return backup ? backup->verified : "";
}

void FwManager::getBackupImageVersion(std::string& verifying,
                                      std::string& verified)
{
    const os::CancellationHeldOff held;
    const auto backup = backupDirectoryOf(*this);
    if (!backup)
    {
        return;
    }
    if (fs::exists(backup->verifying))
    {
        readVersion(backup->verifying, verifying);
    }
    if (fs::exists(backup->verified))
    {
        readVersion(backup->verified, verified);
    }
}

} // namespace phosphor::software::updater
