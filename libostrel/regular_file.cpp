#include "regular_file.hpp"

#include "descriptor.hpp"
#include "errors.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

namespace ostrel
{

namespace
{

size_t sizeOfRegularFile(int file)
{
    struct stat status = {};
    check(::fstat(file, &status));
    require(!S_ISDIR(status.st_mode), EISDIR);
    require(S_ISREG(status.st_mode), ENOTSUP);
    require(std::in_range<size_t>(status.st_size), EFBIG);
    return static_cast<size_t>(status.st_size);
}

} // namespace

std::optional<std::string> readRegularFile(const std::string& path)
{
    // Nonblocking, so that a FIFO in this place cannot hang the open.
    const int opened =
        ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (opened == -1 && errno == ENOENT)
    {
        return std::nullopt;
    }
    const Descriptor file(check(opened));

    std::string content(sizeOfRegularFile(file.get()), '\0');
    size_t length = 0;
    while (length < content.size())
    {
        const ssize_t got = ::read(file.get(), content.data() + length,
                                   content.size() - length);
        if (got == -1)
        {
            require(errno == EINTR, errno);
            continue;
        }
        if (got == 0)
        {
            break;
        }
        length += static_cast<size_t>(got);
    }
    content.resize(length);
    return content;
}

} // namespace ostrel
