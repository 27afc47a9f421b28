#include "text_file.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <string_view>

namespace phosphor::software::updater
{

namespace
{

class OpenFile
{
  public:
    OpenFile(const std::string& path, int flags) :
        // Nonblocking, so that a FIFO in this place cannot hang the open.
        descriptor(
            ::open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK, newFileMode))
    {
    }

    ~OpenFile()
    {
        if (isOpen())
        {
            ::close(descriptor);
        }
    }

    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    [[nodiscard]] bool isOpen() const
    {
        return descriptor != -1;
    }

    /** Appends what comes next; empty at the end and after a failure. */
    [[nodiscard]] std::string_view
    readInto(std::array<char, 4096>& buffer) const
    {
        const ssize_t got = repeat(
            [&] { return ::read(descriptor, buffer.data(), buffer.size()); });
        return {buffer.data(), got > 0 ? static_cast<size_t>(got) : 0};
    }

    /** @return false after a failure */
    [[nodiscard]] bool writeAll(std::string_view text) const
    {
        while (!text.empty())
        {
            const ssize_t written = repeat(
                [&] { return ::write(descriptor, text.data(), text.size()); });
            if (written == -1)
            {
                return false;
            }
            text.remove_prefix(static_cast<size_t>(written));
        }
        return true;
    }

    /** Of this directory. */
    void remove(const std::string& name) const
    {
        ::unlinkat(descriptor, name.c_str(), 0);
    }

    void synchronise() const
    {
        ::fsync(descriptor);
    }

  private:
    /** Less the umask: a file gets the defaults of the process. */
    static constexpr mode_t newFileMode = 0666;

    template <typename Call>
    static ssize_t repeat(Call call)
    {
        ssize_t result = call();
        while (result == -1 && errno == EINTR)
        {
            result = call();
        }
        return result;
    }

    int descriptor;
};

} // namespace

std::optional<std::string> readText(const std::string& path)
{
    const OpenFile file(path, O_RDONLY);
    if (!file.isOpen())
    {
        return std::nullopt;
    }
    std::string text;
    std::array<char, 4096> buffer{};
    for (auto part = file.readInto(buffer); !part.empty();
         part = file.readInto(buffer))
    {
        text += part;
    }
    return text;
}

bool writeText(const std::string& path, const std::vector<std::string>& pieces)
{
    const OpenFile file(path, O_WRONLY | O_CREAT | O_TRUNC);
    if (!file.isOpen())
    {
        return false;
    }
    for (const auto& piece : pieces)
    {
        if (!file.writeAll(piece))
        {
            break;
        }
    }
    file.synchronise();
    // For a file that is new: its name is on the disk with its directory. The
    // dot is all there is of it when the path is a bare name.
    synchronise(std::filesystem::path(path).parent_path() / ".");
    return true;
}

void removeFrom(const std::string& directory, const std::string& name)
{
    const OpenFile opened(directory, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
    if (opened.isOpen())
    {
        opened.remove(name);
        opened.synchronise();
    }
}

void synchronise(const std::string& path)
{
    const OpenFile file(path, O_RDONLY);
    if (file.isOpen())
    {
        file.synchronise();
    }
}

} // namespace phosphor::software::updater
