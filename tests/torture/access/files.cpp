// SPDX-License-Identifier: Apache-2.0
#include "files.hpp"

#include "support/checked.hpp"
#include "support/files.hpp"

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <filesystem>

namespace torture::access
{

namespace fs = std::filesystem;
using namespace phosphor::software::updater;
using support::writeFile;

std::vector<std::string> everything()
{
    return {stateDirectory, lockDirectory,   "/etc/default/firmware",
            "/run/release", backupRoot,      incoming,
            mounts,         victimDirectory, otherVictimDirectory};
}

void removeEverything()
{
    for (const auto& path : everything())
    {
        fs::remove_all(path);
    }
    fs::permissions("/run/lock", fs::perms(0755));
}

void installEverything()
{
    removeEverything();
    ::umask(022);
    writeFile(stateFile, "{\n    \"BMC\": {\n        \"key\": \"old\"\n    }\n"
                         "}\n");
    writeFile(lockFile, "");
    fs::permissions(lockFile, fs::perms(0600));
    writeFile(configFile, R"({"BMC": {"updateable": "yes", "work_mode": "auto",
        "image_backup_path": "/run/backup",
        "image_backup_mount": "/run/mounts/a,/run/mounts/b"}})");
    writeFile(releaseFile, "VERSION_ID=\"old\"\n");
    writeFile("/run/backup/BMC/verifying/version", "2.0");
    writeFile("/run/backup/BMC/verifying/firmware.tar", "image 2.0");
    writeFile("/run/backup/BMC/verified/version", "1.0");
    writeFile("/run/mounts/a", "");
    writeFile("/run/mounts/b", "");
    writeFile("/run/incoming/firmware.tar", "image 3.0");
    // The user who uploads an image owns it.
    fs::permissions(incoming, fs::perms(0777));
    for (const auto* const file : {victim, otherVictim})
    {
        writeFile(file, "victim\n");
        fs::permissions(file, fs::perms(0640));
    }
}

void makeDevice(const std::string& at)
{
    constexpr mode_t mode = S_IFCHR | 0666;
    const dev_t zero = makedev(1, 5);
    support::checked(::mknod(at.c_str(), mode, zero), "mknod");
}

std::string save(FwManager& manager)
{
    return std::to_string(manager.saveVersionStringFromInfo("key", "new"));
}

std::string remove(FwManager& manager)
{
    return std::to_string(manager.deleteVersionStringFromInfo("key"));
}

std::string read(FwManager& manager)
{
    return "'" + manager.getVersionStringFromInfo("key") + "'";
}

std::string readConfiguration(FwManager& manager)
{
    return manager.isConfig() ? manager.getWorkMode() : "none";
}

std::string readRelease(FwManager&)
{
    std::map<std::string, std::string> entries;
    const int status = bmcReleaseFileRead(releaseFile, entries);
    return std::to_string(status) + " '" + entries["VERSION_ID"] + "'";
}

std::string setRelease(FwManager&)
{
    return std::to_string(
        bmcReleaseFileItemSet(releaseFile, "VERSION_ID", "new"));
}

std::string writeRelease(FwManager&)
{
    return std::to_string(
        bmcReleaseFileWrite(releaseFile, {{"VERSION_ID", "new"}}));
}

std::string backUp(FwManager& manager)
{
    manager.backupImage(incoming, "3.0");
    return fs::exists("/run/incoming/firmware.tar") ? "image there"
                                                    : "image gone";
}

std::string promote(FwManager& manager)
{
    manager.verifyBackupImage("2.0");
    return "";
}

std::string readBackups(FwManager& manager)
{
    std::string verifying = "before";
    std::string verified = "before";
    manager.getBackupImageVersion(verifying, verified);
    return verifying + ", " + verified;
}

} // namespace torture::access
