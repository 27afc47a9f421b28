// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace fenmarch
{

/** The content of a file as far as it can be read; nothing if it cannot be
 *  opened. Waits for the writers of a FIFO, if there are any. */
std::optional<std::string> readText(const std::string& path);

/**
 * The first word of a regular file, without the white space around it. Reads no
 * further than the end of the word.
 *
 * @return nothing if the file cannot be read, is not a regular file, or has no
 *         word that ends within its first MiB
 */
std::optional<std::string> readFirstWord(const std::string& path);

/** Whether a file could be opened; what failed after that is not reported. */
enum class Opened
{
    no,
    yes
};

/**
 * Writes a file in place: opens it, creating or truncating it, writes the
 * pieces one by one, up to the first that fails, and waits until they are on
 * the disk, with its name. Waits for the readers of a FIFO; a FIFO without a
 * reader cannot be opened. SIGPIPE is held off.
 */
Opened writeText(const std::string& path,
                 const std::vector<std::string>& pieces);

} // namespace fenmarch
