#include "directories.hpp"

#include "errors.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ostrel
{

namespace
{

constexpr mode_t directoryMode = 0755;

int createDirectory(const std::filesystem::path& directory)
{
    return ::mkdir(directory.c_str(), directoryMode) == 0 ? 0 : errno;
}

} // namespace

void createDirectories(const std::filesystem::path& directory, Lasting lasting)
{
    const std::filesystem::path parent = directory.parent_path();
    int error = createDirectory(directory);
    if (error == ENOENT && !parent.empty())
    {
        createDirectories(parent, lasting);
        error = createDirectory(directory);
    }
    if (error == EEXIST)
    {
        return;
    }
    require(error == 0, error);
    if (lasting == Lasting::yes)
    {
        // An entry is on the disk once the directory that holds it is.
        check(::fsync(openDirectory(parent).get()));
    }
}

Descriptor openDirectory(const std::filesystem::path& directory)
{
    return Descriptor(check(::open(directory.empty() ? "." : directory.c_str(),
                                   O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
}

} // namespace ostrel
