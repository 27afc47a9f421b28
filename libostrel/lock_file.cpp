#include "lock_file.hpp"

#include "directories.hpp"
#include "errors.hpp"

#include <fcntl.h>
#include <sys/file.h>

namespace ostrel
{

namespace
{

/** Nobody without the right to write the document may hold its writers up. */
constexpr mode_t lockFileMode = 0600;

os::Descriptor openLockFile(const std::filesystem::path& path)
{
    // Nonblocking, so that a FIFO in this place cannot hang the open.
    constexpr int flags =
        O_RDONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    int file = ::open(path.c_str(), flags, lockFileMode);
    if (file == -1 && errno == ENOENT)
    {
        createDirectories(path.parent_path(), Lasting::no);
        file = ::open(path.c_str(), flags, lockFileMode);
    }
    return os::Descriptor(check(file));
}

} // namespace

LockFile::LockFile(const std::filesystem::path& path) : file(openLockFile(path))
{
    while (::flock(file.get(), LOCK_EX) == -1)
    {
        require(errno == EINTR, errno);
    }
}

LockFile::~LockFile()
{
    // Closing would leave the lock to a forked child that has not closed its
    // copy of the descriptor; unlocking drops it for all copies.
    ::flock(file.get(), LOCK_UN);
}

} // namespace ostrel
