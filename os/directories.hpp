#pragma once

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

namespace os
{

/**
 * Creates a directory and those above it that are missing. Not by
 * std::filesystem, which reads the times of each: where they do not fit into
 * its time_t (a date after 2038 in 32 bits), it fails.
 *
 * @param mode     of each, less the umask
 * @param created  called with the parent of each directory that was created;
 *                 an errno value other than 0 ends the work
 * @return 0 or an errno value
 */
template <typename Created>
int createDirectories(const std::filesystem::path& directory, mode_t mode,
                      Created created)
{
    const auto create = [&] {
        return ::mkdir(directory.c_str(), mode) == 0 ? 0 : errno;
    };
    const std::filesystem::path parent = directory.parent_path();
    int error = create();
    if (error == ENOENT && !parent.empty())
    {
        error = createDirectories(parent, mode, created);
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
    return error != 0 ? error : created(parent);
}

} // namespace os
