#include "regular_file.hpp"

#include "../os/descriptor.hpp"
#include "../os/transfer.hpp"
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
    // Not by fstat(2), which fails where a time does not fit into time_t.
    struct statx status = {};
    check(::statx(file, "", AT_EMPTY_PATH, STATX_TYPE | STATX_SIZE, &status));
    require(!S_ISDIR(status.stx_mode), EISDIR);
    require(S_ISREG(status.stx_mode), ENOTSUP);
    require(std::in_range<size_t>(status.stx_size), EFBIG);
    return static_cast<size_t>(status.stx_size);
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
    const os::Descriptor file(check(opened));

    std::string content(sizeOfRegularFile(file.get()), '\0');
    size_t length = 0;
    while (length < content.size())
    {
        const ssize_t got = os::readSome(file.get(), content.data() + length,
                                         content.size() - length);
        require(got != -1, errno);
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
