// SPDX-License-Identifier: Apache-2.0
#include "sandbox.hpp"

#include "checked.hpp"
#include "descriptor.hpp"
#include "fixed_paths.hpp"
#include "in_place.hpp"
#include "mounts.hpp"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace support
{

namespace fs = std::filesystem;

namespace
{

/** A directory that stays reachable when something is mounted over its path. */
struct HeldDirectory
{
    fs::path path;
    Descriptor descriptor;

    fs::path reached() const
    {
        return "/proc/self/fd/" + std::to_string(descriptor.get());
    }
};

HeldDirectory hold(const fs::path& path)
{
    Descriptor directory(open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    return {path, std::move(directory)};
}

/** The source and build trees, as far as they are there for this user. */
std::vector<HeldDirectory> holdTrees()
{
    std::vector<HeldDirectory> trees;
    for (const char* path : {SANDBOX_SOURCE_DIR, SANDBOX_BUILD_DIR})
    {
        if (HeldDirectory tree = hold(path); tree.descriptor)
        {
            trees.push_back(std::move(tree));
        }
    }
    return trees;
}

void showTrees(const std::vector<HeldDirectory>& trees, const fs::path& root)
{
    for (const auto& tree : trees)
    {
        const fs::path target = root / tree.path.relative_path();
        fs::create_directories(target);
        bindMount(tree.reached(), target);
    }
}

void mountRun(const fs::path& root)
{
    mountTmpfs(root / "run", "0755");
    fs::create_directory(root / "run/lock");
    fs::permissions(root / "run/lock", fs::perms::all | fs::perms::sticky_bit);
}

/** Whether an overlay of /, which leaves out what is mounted below, holds the
 *  programs and the directories that the tests need. */
bool rootIsOneFilesystem()
{
    struct stat root = {};
    checked(stat("/", &root), "/");
    return std::ranges::all_of(
        std::to_array({"/etc", "/etc/default", "/usr", "/usr/share"}),
        [&root](const char* path) {
            struct stat status = {};
            return stat(path, &status) != 0 || status.st_dev == root.st_dev;
        });
}

/** @return false where the kernel has no overlay of / to give */
bool enterOverlay(const std::vector<HeldDirectory>& trees)
{
    const fs::path stage = "/run";
    const fs::path root = stage / "root";
    mountTmpfs(stage, "0755");
    for (const char* name : {"root", "upper", "work"})
    {
        fs::create_directory(stage / name);
    }
    if (!mountRootOverlay(root, stage / "upper", stage / "work"))
    {
        checked(umount2(stage.c_str(), MNT_DETACH), "unmount the stage");
        return false;
    }
    for (const char* directory : {"proc", "dev", "sys"})
    {
        bindMount(fs::path("/") / directory, root / directory);
    }
    mountRun(root);
    mountTmpfs(root / "tmp", "1777");
    for (const fs::path path : fixedPaths)
    {
        fs::remove_all(root / path.relative_path());
    }
    showTrees(trees, root);
    checked(chroot(root.c_str()), "chroot to the overlay");
    checked(chdir("/"), "chdir to /");
    return true;
}

void mirrorEntry(const fs::directory_entry& entry, const fs::path& target)
{
    if (entry.is_symlink())
    {
        fs::copy_symlink(entry.path(), target);
        return;
    }
    if (entry.is_directory())
    {
        fs::create_directory(target);
    }
    else
    {
        std::ofstream mountPoint(target);
    }
    bindMount(entry.path(), target);
}

/** Covers a directory with one of our own that has the same entries, except
 *  for the fixed paths. */
void mirror(const fs::path& directory)
{
    fs::create_directories(directory);
    const HeldDirectory original = hold(directory);
    checked(original.descriptor.get(), "open " + directory.string());
    mountTmpfs(directory, "0755");
    for (const auto& entry : fs::directory_iterator(original.reached()))
    {
        const fs::path target = directory / entry.path().filename();
        if (std::ranges::find(fixedPaths, target.native()) == fixedPaths.end())
        {
            mirrorEntry(entry, target);
        }
    }
}

void enterMirrors(const std::vector<HeldDirectory>& trees)
{
    for (const char* directory : {"/etc", "/etc/default", "/usr/share"})
    {
        mirror(directory);
    }
    mountRun("/");
    showTrees(trees, "/");
    checked(chdir("/"), "chdir to /");
}

void writeProcFile(const char* path, const std::string& text)
{
    Descriptor file(open(path, O_WRONLY | O_CLOEXEC));
    checked(file.get(), std::string("open ") + path);
    checked(write(file.get(), text.data(), text.size()),
            std::string("write ") + path);
}

void becomeRootOfUserNamespace(uid_t user, gid_t group)
{
    // Without this the kernel takes no map of groups from an ordinary user.
    writeProcFile("/proc/self/setgroups", "deny");
    writeProcFile("/proc/self/uid_map", "0 " + std::to_string(user) + " 1");
    writeProcFile("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
}

/** As root a mount namespace, else one with a user namespace in which this
 *  process is root. @return whether it is still root of the host */
bool enterNamespaces()
{
    const uid_t user = geteuid();
    const gid_t group = getegid();
    // Root of a container may only have the right to the second.
    if (user == 0 && unshare(CLONE_NEWNS) == 0)
    {
        return true;
    }
    checked(unshare(CLONE_NEWUSER | CLONE_NEWNS), "mount namespace");
    becomeRootOfUserNamespace(user, group);
    return false;
}

Isolation setApart()
{
    const bool hostRoot = enterNamespaces();
    makeMountsPrivate();
    const std::vector<HeldDirectory> trees = holdTrees();
    if (hostRoot && rootIsOneFilesystem() && enterOverlay(trees))
    {
        return Isolation::overlay;
    }
    enterMirrors(trees);
    return Isolation::mirrors;
}

// AppArmor's profile of a container refuses mounts, whatever its rights.
constexpr auto remedy =
    "Run it as root; in a container made by docker run with --cap-add "
    "SYS_ADMIN --security-opt apparmor=unconfined; or, as root, on the "
    "machine's own files: with --in-place, or LIBFENMARCH_IN_PLACE=1.";

} // namespace

bool inPlaceIsAskedFor()
{
    const char* const value = std::getenv(inPlaceVariable);
    return value != nullptr && *value != '\0';
}

Isolation enterSandbox()
{
    if (inPlaceIsAskedFor())
    {
        stayInPlace();
        return Isolation::inPlace;
    }
    try
    {
        return setApart();
    }
    catch (const std::system_error& error)
    {
        throw std::runtime_error(
            std::string("this machine gives no sandbox: ") + error.what() +
            '\n' + remedy);
    }
}

} // namespace support
