#pragma once

#include <optional>
#include <string>
#include <vector>

namespace phosphor::software::updater
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

/**
 * Writes a file in place: opens it, creating or truncating it, writes the
 * pieces one by one and waits until they are on the disk, with its name. What
 * fails after the opening is not reported. Waits for the readers of a FIFO; one
 * that nobody reads cannot be opened, and SIGPIPE is held off.
 *
 * @return whether it could be opened
 */
bool writeText(const std::string& path, const std::vector<std::string>& pieces);

/** Removes a file from a directory and waits until that is on the disk. A
 *  directory that is a symbolic link is left alone; nothing is reported. */
void removeFrom(const std::string& directory, const std::string& name);

/** Waits until a file or a directory is on the disk, as far as that can be
 *  had; a failure is not reported. */
void synchronise(const std::string& path);

} // namespace phosphor::software::updater
