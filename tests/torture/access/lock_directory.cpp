// SPDX-License-Identifier: Apache-2.0
#include "actor.hpp"
#include "files.hpp"
#include "parts.hpp"
#include "snapshot.hpp"
#include "support/checked.hpp"
#include "support/child.hpp"
#include "support/files.hpp"

#include <libostrel.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <filesystem>

namespace torture::access
{

namespace
{

namespace fs = std::filesystem;
using phosphor::software::updater::FwManager;

constexpr std::string_view saves = "0";
constexpr std::string_view waits = "waits for the lock";

/** A lock directory, and what others can do in it. */
struct Directory
{
    std::string_view name;
    unsigned int mode;
    bool isOpen;
    /** The result of a save while the lock is held, after another user has
     *  tried to remove the lock file. */
    std::string_view saveAfterRemoval;
};

constexpr std::array<Directory, 3> directories{{
    {"directory of root", 0755, false, waits},
    {"directory open to all", 0777, true, saves},
    {"sticky directory open to all", 01777, true, waits},
}};

/** A file that another user puts there, if the kernel allows it. */
struct Plant
{
    std::string_view name;
    void (*make)();
    /** The status of root's save when the file is there. */
    std::string_view save;
    /** The kernel setting that forbids root to open the file in a sticky
     *  directory; empty if there is none. */
    std::string_view guard = {};
};

constexpr std::array<Plant, 6> plants{{
    {"link", [] { fs::create_symlink(victim, lockFile); }, "-1"},
    {"link to a new file",
     [] { fs::create_symlink("/run/victim/new", lockFile); }, "-1"},
    {"hard link", [] { fs::create_hard_link(victim, lockFile); }, "0"},
    {"FIFO", [] { support::checked(::mkfifo(lockFile, 0666), "mkfifo"); }, "0",
     "protected_fifos"},
    {"directory", [] { fs::create_directory(lockFile); }, "-1"},
    {"file of the user", [] { support::writeFile(lockFile, "x"); }, "0",
     "protected_regular"},
}};

std::string saveAsRoot()
{
    return act(As::root, [] {
        FwManager manager("BMC");
        return save(manager);
    });
}

std::string saveAsRoot(std::string_view should)
{
    if (should != waits)
    {
        return saveAsRoot();
    }
    const support::Child child([] {
        FwManager manager("BMC");
        return manager.saveVersionStringFromInfo("key", "new");
    });
    return std::string(child.waitsForLock() ? waits : "does not wait");
}

void install(const Directory& directory)
{
    installEverything();
    fs::permissions(lockDirectory, fs::perms(directory.mode));
}

void expect(Report& report, const std::string& what, const std::string& is,
            std::string_view should)
{
    if (is != should)
    {
        report.loss(what + ": " + is + ", not " + std::string(should));
    }
}

bool isOn(std::string_view setting)
{
    return !setting.empty() &&
           support::readFile("/proc/sys/fs/" + std::string(setting)) != "0\n";
}

/** Whether the kernel allows another user to plant the file there. */
bool canBePlanted(const Plant& plant, const Directory& directory)
{
    return directory.isOpen &&
           (plant.name != "hard link" || !isOn("protected_hardlinks"));
}

std::string_view saveBeside(const Plant& plant, const Directory& directory)
{
    const bool isSticky = (directory.mode & S_ISVTX) != 0;
    return !canBePlanted(plant, directory) ? "0"
           : isSticky && isOn(plant.guard) ? "-1"
                                           : plant.save;
}

void plantIn(const Directory& directory, Report& report)
{
    for (const auto& each : plants)
    {
        install(directory);
        fs::remove(lockFile);
        const auto before = takeSnapshot({victimDirectory});
        act(As::nobody, [&] {
            each.make();
            return "";
        });
        const bool planted = fs::exists(fs::symlink_status(lockFile));
        const std::string what = "a " + std::string(each.name) + " in a " +
                                 std::string(directory.name);
        if (planted != canBePlanted(each, directory))
        {
            report.loss(what + (planted ? ": planted" : ": not planted"));
        }
        expect(report, what, saveAsRoot(), saveBeside(each, directory));
        expect(report, what,
               differences(before, takeSnapshot({victimDirectory})), "");
        report.count(planted ? "plants in lock directories"
                             : "plants that the kernel refuses");
    }
}

void removeTheHeldLock(const Directory& directory, Report& report)
{
    install(directory);
    auto* const holder = json_config_load(stateFile, lockFile, 0);
    act(As::nobody, [] {
        fs::remove(lockFile);
        return "";
    });
    expect(report, "a removed lock file in a " + std::string(directory.name),
           saveAsRoot(directory.saveAfterRemoval), directory.saveAfterRemoval);
    json_config_release(holder);
    report.count("removed locks");
}

/** Checks whether a user without rights can block the services. */
void holdTheLock(const std::string& what, std::string_view should,
                 Report& report)
{
    const support::Gate held;
    const support::Child holder([&] {
        become(As::nobody);
        const int file = ::open(lockFile, O_RDONLY | O_CLOEXEC);
        ::flock(file, LOCK_EX);
        held.open();
        ::pause();
        return 0;
    });
    held.pass();
    expect(report, what, saveAsRoot(should), should);
    report.count("lock holders without rights");
}

void holdTheLockOfMode(unsigned int mode, std::string_view should,
                       Report& report)
{
    installEverything();
    fs::permissions(lockFile, fs::perms(mode));
    holdTheLock("a lock file of mode " + std::to_string(mode), should, report);
}

void installWithoutTheDirectory()
{
    installEverything();
    fs::remove_all(lockDirectory);
    fs::permissions("/run/lock", fs::perms(01777));
}

/** If the directory is missing, every user can replace it by a link. */
void linkTheDirectory(Report& report)
{
    installWithoutTheDirectory();
    act(As::nobody, [] {
        fs::create_directory_symlink(victimDirectory, lockDirectory);
        return "";
    });
    const auto before = takeSnapshot({victimDirectory});
    saveAsRoot();
    // Root makes an empty file there, unless fs.protected_symlinks forbids it.
    const fs::path made = fs::path(victimDirectory) / "version.lock";
    if (fs::exists(made))
    {
        expect(report, "the lock behind a planted directory",
               support::readFile(made), "");
        fs::remove(made);
        report.count("redirected locks");
    }
    expect(report, "a link as the lock directory",
           differences(before, takeSnapshot({victimDirectory})), "");
}

/** If the directory is missing, the first caller owns the lock for good. */
void ownTheDirectory(Report& report)
{
    installWithoutTheDirectory();
    act(As::nobody, [] {
        FwManager manager("BMC");
        return read(manager);
    });
    expect(report, "the owner of the lock",
           std::to_string(support::statusOf(lockFile).st_uid),
           std::to_string(nobody));
    holdTheLock("a lock file of another user", waits, report);
}

} // namespace

void shareTheLockDirectory(const Plan&, Report& report)
{
    for (const auto& directory : directories)
    {
        plantIn(directory, report);
        removeTheHeldLock(directory, report);
    }
    holdTheLockOfMode(0600, saves, report);
    holdTheLockOfMode(0644, waits, report);
    linkTheDirectory(report);
    ownTheDirectory(report);
}

} // namespace torture::access
