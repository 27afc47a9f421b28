// SPDX-License-Identifier: Apache-2.0
#include "text_file.hpp"

#include "../os/directories.hpp"
#include "../os/files.hpp"
#include "../os/pipe_signal.hpp"
#include "../os/transfer.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace fenmarch
{

namespace
{

using os::Descriptor;

bool isRegular(const Descriptor& file)
{
    struct statx status = {};
    return ::statx(file.get(), "", AT_EMPTY_PATH, STATX_TYPE, &status) == 0 &&
           S_ISREG(status.stx_mode);
}

using Buffer = std::array<char, 4096>;

/** @return the number of bytes read, 0 at the end, -1 after a failure */
ssize_t readInto(Buffer& buffer, const Descriptor& file)
{
    return os::readSome(file.get(), buffer.data(), buffer.size());
}

} // namespace

std::optional<std::string> readText(const std::string& path)
{
    const Descriptor file = os::openAtOnce(path, O_RDONLY);
    if (!file.isOpen())
    {
        return std::nullopt;
    }
    os::letWait(file);
    std::string text;
    Buffer buffer{};
    for (ssize_t length = readInto(buffer, file); length > 0;
         length = readInto(buffer, file))
    {
        text.append(buffer.data(), static_cast<size_t>(length));
    }
    return text;
}

std::optional<std::string> readFirstWord(const std::string& path)
{
    constexpr size_t mostBytes = 1 << 20;
    constexpr std::string_view blanks = " \t\n\v\f\r";

    const Descriptor file = os::openAtOnce(path, O_RDONLY);
    if (!file.isOpen() || !isRegular(file))
    {
        return std::nullopt;
    }
    // Not with a stream, which treats a failed allocation as the end.
    std::string word;
    size_t readBytes = 0;
    Buffer buffer{};
    for (;;)
    {
        const ssize_t length = readInto(buffer, file);
        if (length == -1)
        {
            return std::nullopt;
        }
        std::string_view rest(buffer.data(), static_cast<size_t>(length));
        if (word.empty())
        {
            rest.remove_prefix(
                std::min(rest.find_first_not_of(blanks), rest.size()));
        }
        const size_t end = std::min(rest.find_first_of(blanks), rest.size());
        const size_t behind = rest.size() - end;
        word += rest.substr(0, end);
        readBytes += static_cast<size_t>(length);
        const bool ended = behind != 0 || length == 0;
        if (readBytes - behind > mostBytes || (ended && word.empty()))
        {
            return std::nullopt;
        }
        if (ended)
        {
            return word;
        }
    }
}

Opened writeText(const std::string& path,
                 const std::vector<std::string>& pieces)
{
    const Descriptor file = os::openAtOnce(path, O_WRONLY | O_CREAT | O_TRUNC);
    if (!file.isOpen())
    {
        return Opened::no;
    }
    os::letWait(file);
    const os::PipeSignalHeldOff held;
    // Stops at the first piece that cannot be written.
    std::ranges::all_of(pieces, [&](const auto& piece) {
        return os::writeAll(file.get(), piece);
    });
    ::fsync(file.get());
    // If the file is new, its name is on the disk once its directory is.
    os::synchronise(os::directoryOf(path));
    return Opened::yes;
}

} // namespace fenmarch
