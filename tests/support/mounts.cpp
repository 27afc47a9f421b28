// SPDX-License-Identifier: Apache-2.0
#include "mounts.hpp"

#include "checked.hpp"
#include "descriptor.hpp"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace support
{

void mountTmpfs(const std::filesystem::path& target, const char* mode)
{
    const std::string options = std::string("mode=") + mode;
    checked(mount("tmpfs", target.c_str(), "tmpfs", MS_NOSUID | MS_NODEV,
                  options.c_str()),
            "mount a tmpfs on " + target.string());
}

void bindMount(const std::filesystem::path& source,
               const std::filesystem::path& target)
{
    // A user namespace may bind inherited mounts only together with what is
    // mounted below them.
    checked(mount(source.c_str(), target.c_str(), "none", MS_BIND | MS_REC,
                  nullptr),
            "bind " + source.string() + " to " + target.string());
}

namespace
{

bool makePrivateBelowRoot()
{
    return mount(nullptr, "/", "none", MS_REC | MS_PRIVATE, nullptr) == 0;
}

Descriptor openOnly(const char* path, int flags)
{
    Descriptor file(open(path, flags | O_CLOEXEC));
    checked(file.get(), std::string("open ") + path);
    return file;
}

} // namespace

void makeMountsPrivate()
{
    if (makePrivateBelowRoot())
    {
        return;
    }
    if (errno != EINVAL)
    {
        throwErrno("make the mounts private");
    }
    // The root is not a mount point, as in a plain chroot. Entering the
    // namespace again leads to the root of the namespace, which is one. A bind
    // of the root onto itself would be seen outside until it is private.
    const Descriptor root = openOnly("/", O_PATH | O_DIRECTORY);
    const Descriptor mountNamespace = openOnly("/proc/self/ns/mnt", O_RDONLY);
    checked(setns(mountNamespace.get(), CLONE_NEWNS), "leave the chroot");
    checked(makePrivateBelowRoot() ? 0 : -1, "make the mounts private");
    checked(fchdir(root.get()), "return to the chroot");
    checked(chroot("."), "return to the chroot");
}

bool mountRootOverlay(const std::filesystem::path& target,
                      const std::filesystem::path& upper,
                      const std::filesystem::path& work)
{
    const std::string options =
        "lowerdir=/,upperdir=" + upper.string() + ",workdir=" + work.string();
    return mount("overlay", target.c_str(), "overlay", 0, options.c_str()) == 0;
}

} // namespace support
