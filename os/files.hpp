// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "descriptor.hpp"

#include <sys/types.h>

#include <optional>
#include <string>

namespace os
{

/**
 * Opens a file as open(2) does. The call never waits for the other end of a
 * FIFO, no terminal becomes the terminal of the process, and no program that
 * the process executes inherits the descriptor.
 *
 * @param mode  of a file that is created, less the umask
 * @return not open, with errno, when open(2) fails
 */
[[nodiscard]] Descriptor openAtOnce(const std::string& path, int flags,
                                    mode_t mode = 0666);

/** Makes reads and writes of a file opened by openAtOnce() wait for the other
 *  end of a FIFO. */
void letWait(const Descriptor& file);

/**
 * Waits until a file or a directory is on the disk. For a directory that
 * means the names in it, not the content of its files.
 *
 * @return 0, or the errno value of open(2) or fsync(2)
 */
int synchronise(const std::string& path);

/**
 * Removes a file from a directory and waits until that is on the disk. A
 * directory that is a symbolic link is left alone.
 *
 * @return 0, or the errno value of what failed; the directory is synchronised
 *         also when there was no file
 */
int removeAndSynchronise(const std::string& directory, const std::string& name);

/** The device that holds a file; nothing, with errno, if its status cannot be
 *  read. */
[[nodiscard]] std::optional<dev_t> deviceOf(const std::string& path);

} // namespace os
