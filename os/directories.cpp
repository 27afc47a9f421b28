// SPDX-License-Identifier: Apache-2.0
#include "directories.hpp"

#include "files.hpp"

#include <sys/stat.h>

#include <cerrno>

namespace os
{

// Not with std::filesystem, which reads the times of each directory and fails
// if they do not fit into its time_t (a date after 2038 in 32 bits).

std::string directoryOf(const std::string& path)
{
    const auto slash = path.rfind('/');
    if (slash == std::string::npos)
    {
        return ".";
    }
    const auto last = path.find_last_not_of('/', slash);
    return last == std::string::npos ? "/" : path.substr(0, last + 1);
}

int createDirectories(const std::string& directory, mode_t mode,
                      Lasting lasting)
{
    const std::string parent = directoryOf(directory);
    const auto create = [&] {
        return ::mkdir(directory.c_str(), mode) == 0 ? 0 : errno;
    };
    int error = create();
    if (error == ENOENT && parent != directory)
    {
        error = createDirectories(parent, mode, lasting);
        if (error != 0)
        {
            return error;
        }
        error = create();
    }
    if (error == EEXIST)
    {
        return 0;
    }
    return error == 0 && lasting == Lasting::yes ? synchronise(parent) : error;
}

} // namespace os
