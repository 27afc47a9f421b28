#include "in_place.hpp"

#include "checked.hpp"
#include "descriptor.hpp"
#include "fixed_paths.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <filesystem>
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

/** Removes paths when this process exits, but not when a child of it does. */
class RemovalAtExit
{
  public:
    RemovalAtExit(Descriptor held, std::vector<fs::path> made) :
        lock(std::move(held)), paths(std::move(made))
    {
    }

    ~RemovalAtExit()
    {
        if (getpid() != owner)
        {
            return;
        }
        for (const auto& path : paths)
        {
            std::error_code ignored;
            fs::remove_all(path, ignored);
        }
    }

    RemovalAtExit(const RemovalAtExit&) = delete;
    RemovalAtExit& operator=(const RemovalAtExit&) = delete;

  private:
    pid_t owner = getpid();
    Descriptor lock;
    std::vector<fs::path> paths;
};

/** The topmost of the directories above the path, or the path itself, that
 *  does not exist yet: all of it is going to be the tests' own. */
fs::path firstMissing(const fs::path& path)
{
    fs::path current = path;
    while (!fs::exists(fs::symlink_status(current.parent_path())))
    {
        current = current.parent_path();
    }
    return current;
}

Descriptor lockRun()
{
    Descriptor directory(open("/run", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    checked(directory.get(), "open /run");
    checked(flock(directory.get(), LOCK_EX), "lock /run");
    return directory;
}

} // namespace

void stayInPlace()
{
    Descriptor lock = lockRun();
    std::vector<fs::path> removals;
    for (const fs::path path : fixedPaths)
    {
        if (fs::exists(fs::symlink_status(path)))
        {
            throw std::runtime_error("cannot run in place: " + path.string() +
                                     " exists on this host");
        }
        removals.push_back(firstMissing(path));
    }
    static const RemovalAtExit removal(std::move(lock), std::move(removals));
}

} // namespace support
