// SPDX-License-Identifier: Apache-2.0
#include "lock_file.hpp"

#include "../os/directories.hpp"
#include "../os/files.hpp"
#include "../os/transfer.hpp"
#include "errors.hpp"

#include <fcntl.h>
#include <sys/file.h>

#include <utility>

namespace ostrel
{

namespace
{

os::Descriptor openLockFile(const std::string& path)
{
    constexpr int flags = O_RDONLY | O_CREAT | O_NOFOLLOW;
    /** Nobody without the right to write the document may hold its writers up.
     */
    constexpr mode_t lockFileMode = 0600;
    constexpr mode_t directoryMode = 0755;

    os::Descriptor file = os::openAtOnce(path, flags, lockFileMode);
    if (file.isOpen() || errno != ENOENT)
    {
        return check(std::move(file));
    }
    const int error = os::createDirectories(os::directoryOf(path),
                                            directoryMode, os::Lasting::no);
    require(error == 0, error);
    return check(os::openAtOnce(path, flags, lockFileMode));
}

} // namespace

LockFile::LockFile(const std::string& path) : file(openLockFile(path))
{
    check(os::uninterrupted([&] { return ::flock(file.get(), LOCK_EX); }));
}

LockFile::~LockFile()
{
    // Closing would leave the lock to a forked child that has not closed its
    // copy of the descriptor; unlocking drops it for all copies.
    ::flock(file.get(), LOCK_UN);
}

} // namespace ostrel
