#include "../text_file.hpp"

#include <libfenmarch.hpp>
#include <phosphor-logging/lg2.hpp>

#include <filesystem>
#include <sstream>

namespace phosphor::software::updater
{

namespace
{

namespace fs = std::filesystem;

/** The backup directory of one firmware and its two slots. */
struct BackupDirectory
{
    BackupDirectory(const std::string& root, const std::string& name) :
        path(root + (root.ends_with('/') ? "" : "/") + name)
    {
    }

    std::string path;
    std::string verifying = path + "/verifying";
    std::string verified = path + "/verified";
};

std::string imageIn(const std::string& directory)
{
    return directory + "/firmware.tar";
}

std::string versionFileIn(const std::string& slot)
{
    return slot + "/version";
}

/** Reads the first word; without one the version is left as it is. */
void readVersion(const std::string& slot, std::string& version)
{
    std::istringstream text(readText(versionFileIn(slot)).value_or(""));
    if (std::string word; text >> word)
    {
        version = std::move(word);
    }
}

} // namespace

// In what follows no failure ends an operation or is reported: who wants to
// know what became of a slot looks at it.

void FwManager::backupImage(const std::string& src, const std::string& version)
{
    if (!fs::exists(src))
    {
        lg2::error("{NAME}: Backup firmware src path not exists {PATH}", "NAME",
                   name, "PATH", src);
        return;
    }
    const std::string root = getBackupImagePath();
    if (root.empty())
    {
        lg2::error("{NAME}: Backup firmware dest path not exists {PATH}",
                   "NAME", name, "PATH", root);
        return;
    }
    const BackupDirectory backup(root, name);
    const std::string& slot = backup.verifying;

    std::error_code ignored;
    fs::remove_all(slot, ignored);
    fs::create_directories(slot, ignored);
    fs::copy_file(imageIn(src), imageIn(slot), ignored);
    // The copy is on the disk, with the way to it, before the original goes.
    for (fs::path way = imageIn(slot); way.has_relative_path();
         way = way.parent_path())
    {
        synchronise(way);
    }
    fs::remove(imageIn(src), ignored);
    writeText(versionFileIn(slot), {version});
    synchronise(slot);
}

void FwManager::verifyBackupImage(const std::string& running)
{
    const std::string root = getBackupImagePath();
    if (root.empty())
    {
        return;
    }
    const BackupDirectory backup(root, name);
    const std::string& slot = backup.verifying;
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
    // The rename may reach the disk first of all; the files in the slot would
    // be empty after a power cut.
    for (const auto& path : {imageIn(slot), versionFileIn(slot), slot})
    {
        synchronise(path);
    }
    std::error_code ignored;
    fs::remove_all(backup.verified, ignored);
    fs::rename(slot, backup.verified, ignored);
    synchronise(backup.path);
}

std::string FwManager::getVerifiedBackupImagePath()
{
    const std::string root = getBackupImagePath();
    return root.empty() ? "" : BackupDirectory(root, name).verified;
}

void FwManager::getBackupImageVersion(std::string& verifying,
                                      std::string& verified)
{
    const std::string root = getBackupImagePath();
    if (root.empty())
    {
        return;
    }
    const BackupDirectory backup(root, name);
    if (fs::exists(backup.verifying))
    {
        readVersion(backup.verifying, verifying);
    }
    if (fs::exists(backup.verified))
    {
        readVersion(backup.verified, verified);
    }
}

} // namespace phosphor::software::updater
