// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

namespace support
{

/** An empty directory for one test, removed with all its content. */
class ScratchDirectory
{
  public:
    ScratchDirectory();
    ~ScratchDirectory();

    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    const std::filesystem::path path;
};

/** The whole content. @throws std::runtime_error when it cannot be read */
std::string readFile(const std::filesystem::path& path);

/** Replaces the content in place; missing directories are created. */
void writeFile(const std::filesystem::path& path, const std::string& content);

/** The names in a directory, sorted. */
std::vector<std::string> namesIn(const std::filesystem::path& directory);

/** Sets the times of a file, a directory or a link to the year 2040: they do
 * not fit into 32 bits. */
void setYear2040(const std::filesystem::path& path);

/** Inode, mode, owner and times, links not followed. */
struct stat statusOf(const std::filesystem::path& path);

/** Whether it is the same file, not written since. */
bool untouched(const struct stat& before, const struct stat& after);

/** Fills the file system of this directory. Returns the file whose removal
 * frees the space again. */
std::filesystem::path fillUp(const std::filesystem::path& directory);

} // namespace support
