#include "files.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace os
{

Descriptor openAtOnce(const std::string& path, int flags, mode_t mode)
{
    constexpr int harmless = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    return Descriptor(::open(path.c_str(), flags | harmless, mode));
}

int synchronise(const std::string& path)
{
    const Descriptor file = openAtOnce(path, O_RDONLY);
    return file.isOpen() && ::fsync(file.get()) == 0 ? 0 : errno;
}

} // namespace os
