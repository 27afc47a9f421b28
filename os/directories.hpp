#pragma once

#include <sys/types.h>

#include <string>

namespace os
{

/**
 * The directory that holds the file of this path: what stands before the last
 * slash, "." for a bare name, "/" for a name in the root. It ends in no slash
 * otherwise. The file system is not looked at.
 */
[[nodiscard]] std::string directoryOf(const std::string& path);

/** Whether a change has to survive a power cut. */
enum class Lasting
{
    no,
    yes
};

/**
 * Creates a directory and those above it that are missing. What exists is left
 * as it is, whatever it is. A failure leaves what was created before it.
 *
 * @param directory  ends in no slash: the names that last are those of what
 *                   directoryOf() finds above it
 * @param mode       of each that is created, less the umask
 * @param lasting    whether to wait until the names of those that are created
 *                   are on the disk
 * @return 0, or the errno value of what failed
 */
int createDirectories(const std::string& directory, mode_t mode,
                      Lasting lasting);

} // namespace os
