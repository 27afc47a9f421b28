#pragma once

#include <optional>
#include <string>
#include <vector>

namespace fenmarch
{

/** The content of a file as far as it can be read; nothing when it cannot be
 *  opened. Waits for the writers of a FIFO, if there are any. */
std::optional<std::string> readText(const std::string& path);

/**
 * The first word of a regular file, white space around it dropped. Reads no
 * further than its end.
 *
 * @return nothing when the file cannot be read or is of another kind, and when
 *         no word ends within its first MiB
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
 * the disk, with its name. Waits for the readers of a FIFO; one that nobody
 * reads cannot be opened, and SIGPIPE is held off.
 */
Opened writeText(const std::string& path,
                 const std::vector<std::string>& pieces);

} // namespace fenmarch
