// SPDX-License-Identifier: Apache-2.0
#include "regular_file.hpp"

#include "../os/files.hpp"
#include "../os/transfer.hpp"
#include "errors.hpp"

#include <fcntl.h>
#include <sys/stat.h>

#include <utility>

namespace ostrel
{

namespace
{

size_t sizeOfRegularFile(const os::Descriptor& file, size_t mostBytes)
{
    // Not by fstat(2), which fails where a time does not fit into time_t.
    struct statx status = {};
    check(::statx(file.get(), "", AT_EMPTY_PATH, STATX_TYPE | STATX_SIZE,
                  &status));
    require(!S_ISDIR(status.stx_mode), EISDIR);
    require(S_ISREG(status.stx_mode), ENOTSUP);
    require(status.stx_size <= mostBytes, EFBIG);
    return static_cast<size_t>(status.stx_size);
}

} // namespace

std::optional<std::string> readRegularFile(const std::string& path,
                                           size_t mostBytes)
{
    os::Descriptor opened = os::openAtOnce(path, O_RDONLY);
    if (!opened.isOpen() && errno == ENOENT)
    {
        return std::nullopt;
    }
    const os::Descriptor file = check(std::move(opened));
    std::string content(sizeOfRegularFile(file, mostBytes), '\0');
    size_t length = 0;
    ssize_t got = -1;
    while (got != 0 && length < content.size())
    {
        got = os::readSome(file.get(), content.data() + length,
                           content.size() - length);
        check(got);
        length += static_cast<size_t>(got);
    }
    content.resize(length);
    return content;
}

} // namespace ostrel
