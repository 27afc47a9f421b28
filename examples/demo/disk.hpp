#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace demo
{

/** The regular files where the library works, each with its content. */
using Disk = std::map<std::filesystem::path, std::string>;

/** Reads them as they are now. */
Disk readDisk();

/** Removes them all, with their directories. */
void clearDisk();

/** A file that is not as it was. */
struct Change
{
    /** What happened to which file, such as `changed /etc/bios-release`. */
    std::string summary;
    /** A text line by line, where `+ ` is new, `- ` is gone and `  ` stayed;
     *  of what is no text only the size. */
    std::vector<std::string> lines;
};

/** What has changed, in the order of the paths. */
std::vector<Change> changesBetween(const Disk& before, const Disk& after);

} // namespace demo
