// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <string>

namespace os
{

/**
 * The directory that holds the file of this path: the text before the last
 * slash, "." for a bare name, "/" for a name in the root. Any other result does
 * not end in a slash. The file system is not read.
 */
[[nodiscard]] std::string directoryOf(const std::string& path);

/** Whether a change has to survive a power cut. */
enum class Lasting
{
    no,
    yes
};

/**
 * Creates a directory and the missing directories above it. A file of any kind
 * that exists is left as it is. A failure leaves what was created before it.
 *
 * @param directory  must not end in a slash: the names are synchronised in the
 *                   directories that directoryOf() returns
 * @param mode       of each new directory, less the umask
 * @param lasting    whether to wait until the names of the new directories are
 *                   on the disk
 * @return 0, or the errno value of what failed
 */
int createDirectories(const std::string& directory, mode_t mode,
                      Lasting lasting);

} // namespace os
