#include "mounts.hpp"

#include "checked.hpp"

#include <sys/mount.h>

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

void makeMountsPrivate()
{
    checked(mount(nullptr, "/", "none", MS_REC | MS_PRIVATE, nullptr),
            "make the mounts private");
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
