// SPDX-License-Identifier: Apache-2.0
#include "files.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>

namespace os
{

Descriptor openAtOnce(const std::string& path, int flags, mode_t mode)
{
    constexpr int harmless = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    return Descriptor(::open(path.c_str(), flags | harmless, mode));
}

void letWait(const Descriptor& file)
{
    const int flags = ::fcntl(file.get(), F_GETFL);
    ::fcntl(file.get(), F_SETFL, flags & ~O_NONBLOCK);
}

int synchronise(const std::string& path)
{
    const Descriptor file = openAtOnce(path, O_RDONLY);
    return file.isOpen() && ::fsync(file.get()) == 0 ? 0 : errno;
}

int removeAndSynchronise(const std::string& directory, const std::string& name)
{
    const Descriptor opened =
        openAtOnce(directory, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
    if (!opened.isOpen())
    {
        return errno;
    }
    const int error =
        ::unlinkat(opened.get(), name.c_str(), 0) == 0 ? 0 : errno;
    if (::fsync(opened.get()) == -1 && error == 0)
    {
        return errno;
    }
    return error;
}

std::optional<dev_t> deviceOf(const std::string& path)
{
    struct statx status = {};
    // Every answer includes the device, so the mask asks for nothing.
    if (::statx(AT_FDCWD, path.c_str(), 0, 0, &status) == -1)
    {
        return std::nullopt;
    }
    return makedev(status.stx_dev_major, status.stx_dev_minor);
}

} // namespace os
