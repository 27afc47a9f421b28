#include "text_file.hpp"

#include "../os/descriptor.hpp"
#include "../os/transfer.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>
#include <string_view>

namespace phosphor::software::updater
{

namespace
{

using os::Descriptor;

/** Nonblocking, so that a FIFO in this place cannot hang the open. A new file
 *  gets the defaults of the process: 0666 less the umask. */
Descriptor openAtOnce(const std::string& path, int flags)
{
    constexpr mode_t newFileMode = 0666;
    return Descriptor(
        ::open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK, newFileMode));
}

/** Makes reads and writes wait for the other end of a FIFO. */
void letWait(const Descriptor& file)
{
    const int flags = ::fcntl(file.get(), F_GETFL);
    ::fcntl(file.get(), F_SETFL, flags & ~O_NONBLOCK);
}

bool isRegular(const Descriptor& file)
{
    struct statx status = {};
    return ::statx(file.get(), "", AT_EMPTY_PATH, STATX_TYPE, &status) == 0 &&
           S_ISREG(status.stx_mode);
}

/** Keeps the SIGPIPE of a FIFO whose readers go away from the process, which it
 *  would end: the write fails, as on a full disk. */
class PipeSignalHeldOff
{
  public:
    PipeSignalHeldOff()
    {
        ::sigemptyset(&pipeSignal);
        ::sigaddset(&pipeSignal, SIGPIPE);
        sigset_t pending{};
        ::sigpending(&pending);
        wasPending = ::sigismember(&pending, SIGPIPE) == 1;
        ::pthread_sigmask(SIG_BLOCK, &pipeSignal, &before);
    }

    ~PipeSignalHeldOff()
    {
        if (!wasPending)
        {
            constexpr timespec atOnce{};
            os::uninterrupted(
                [&] { return ::sigtimedwait(&pipeSignal, nullptr, &atOnce); });
        }
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }

    PipeSignalHeldOff(const PipeSignalHeldOff&) = delete;
    PipeSignalHeldOff& operator=(const PipeSignalHeldOff&) = delete;

  private:
    sigset_t pipeSignal{};
    sigset_t before{};
    bool wasPending = false;
};

using Buffer = std::array<char, 4096>;

/** @return the length of what comes next, 0 at the end, -1 after a failure */
ssize_t readInto(Buffer& buffer, const Descriptor& file)
{
    return os::readSome(file.get(), buffer.data(), buffer.size());
}

} // namespace

std::optional<std::string> readText(const std::string& path)
{
    const Descriptor file = openAtOnce(path, O_RDONLY);
    if (!file.isOpen())
    {
        return std::nullopt;
    }
    letWait(file);
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

    const Descriptor file = openAtOnce(path, O_RDONLY);
    if (!file.isOpen() || !isRegular(file))
    {
        return std::nullopt;
    }
    // Not by a stream, which takes a failed allocation for the end.
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

bool writeText(const std::string& path, const std::vector<std::string>& pieces)
{
    const Descriptor file = openAtOnce(path, O_WRONLY | O_CREAT | O_TRUNC);
    if (!file.isOpen())
    {
        return false;
    }
    letWait(file);
    const PipeSignalHeldOff held;
    // Stops at the first piece that cannot be written.
    std::ranges::all_of(pieces, [&](const auto& piece) {
        return os::writeAll(file.get(), piece);
    });
    ::fsync(file.get());
    // For a file that is new: its name is on the disk with its directory. The
    // dot is all there is of it when the path is a bare name.
    synchronise(std::filesystem::path(path).parent_path() / ".");
    return true;
}

void removeFrom(const std::string& directory, const std::string& name)
{
    const Descriptor opened =
        openAtOnce(directory, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
    if (opened.isOpen())
    {
        ::unlinkat(opened.get(), name.c_str(), 0);
        ::fsync(opened.get());
    }
}

void synchronise(const std::string& path)
{
    const Descriptor file = openAtOnce(path, O_RDONLY);
    if (file.isOpen())
    {
        ::fsync(file.get());
    }
}

} // namespace phosphor::software::updater
