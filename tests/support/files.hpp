#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

namespace support
{

/** An empty directory of the test's own, removed with all that is in it. */
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

/** Makes a file, a directory or a link one of the year 2040, whose times do not
 *  fit into 32 bits. */
void setYear2040(const std::filesystem::path& path);

/** Inode, mode, owner and times, links not followed. */
struct stat statusOf(const std::filesystem::path& path);

/** Whether it is the same file, not written since. */
bool untouched(const struct stat& before, const struct stat& after);

/** Fills the file system that holds this directory up; the result is the file
 *  to remove for room again. */
std::filesystem::path fillUp(const std::filesystem::path& directory);

} // namespace support
