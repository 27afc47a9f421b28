// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace demo
{

/** The regular files in the directories of the library, with their content. */
using Disk = std::map<std::filesystem::path, std::string>;

/** Reads them as they are now. */
Disk readDisk();

/** Removes them all, with their directories. */
void clearDisk();

/** A file that has changed. */
struct Change
{
    /** The kind of change and the file, such as `changed /etc/bios-release`. */
    std::string summary;
    /** A text line by line: `+ ` marks new lines, `- ` removed lines, and `  `
     *  unchanged ones. Of a file that is not text only the size. */
    std::vector<std::string> lines;
};

/** What has changed, in the order of the paths. */
std::vector<Change> changesBetween(const Disk& before, const Disk& after);

} // namespace demo
