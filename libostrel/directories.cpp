#include "directories.hpp"

#include "../os/directories.hpp"
#include "errors.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ostrel
{

namespace
{

constexpr mode_t directoryMode = 0755;

/** An entry is on the disk once the directory that holds it is.
 *  @return 0 or an errno value */
int synchronise(const std::filesystem::path& directory)
{
    return ::fsync(openDirectory(directory).get()) == 0 ? 0 : errno;
}

} // namespace

void createDirectories(const std::filesystem::path& directory, Lasting lasting)
{
    const int error = os::createDirectories(
        directory, directoryMode, [&](const std::filesystem::path& parent) {
            return lasting == Lasting::yes ? synchronise(parent) : 0;
        });
    require(error == 0, error);
}

os::Descriptor openDirectory(const std::filesystem::path& directory)
{
    return os::Descriptor(
        check(::open(directory.empty() ? "." : directory.c_str(),
                     O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
}

} // namespace ostrel
