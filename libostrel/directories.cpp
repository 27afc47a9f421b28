#include "directories.hpp"

#include "../os/directories.hpp"
#include "errors.hpp"

#include <fcntl.h>

namespace ostrel
{

namespace
{

constexpr mode_t directoryMode = 0755;

} // namespace

void createDirectories(const std::filesystem::path& directory, Lasting lasting)
{
    const int error = os::createDirectories(
        directory, directoryMode,
        lasting == Lasting::yes ? os::Lasting::yes : os::Lasting::no);
    require(error == 0, error);
}

os::Descriptor openDirectory(const std::filesystem::path& directory)
{
    return os::Descriptor(
        check(::open(directory.empty() ? "." : directory.c_str(),
                     O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
}

} // namespace ostrel
