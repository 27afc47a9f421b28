// SPDX-License-Identifier: Apache-2.0
#include "disk.hpp"

#include "line_difference.hpp"
#include "support/files.hpp"

#include <set>
#include <sstream>

namespace demo
{

namespace fs = std::filesystem;

namespace
{

constexpr auto places = {
    "/etc/default/firmware",
    "/etc/bios-release",
    "/usr/share/firmware",
    "/run/lock/firmware",
};

/** Of longer content only the size is shown. */
constexpr std::size_t readableBytes = 8192;

bool isReadable(const std::string& content)
{
    return content.size() <= readableBytes &&
           content.find('\0') == std::string::npos;
}

std::vector<std::string> linesOf(const std::string& content)
{
    std::vector<std::string> lines;
    std::istringstream text(content);
    for (std::string line; std::getline(text, line);)
    {
        lines.push_back(line);
    }
    return lines;
}

void readInto(Disk& disk, const fs::path& place)
{
    if (fs::is_regular_file(place))
    {
        disk[place] = support::readFile(place);
    }
    if (!fs::is_directory(place))
    {
        return;
    }
    for (const auto& entry : fs::recursive_directory_iterator(place))
    {
        if (entry.is_regular_file())
        {
            disk[entry.path()] = support::readFile(entry.path());
        }
    }
}

Change changeOf(const fs::path& path, const std::string* before,
                const std::string* after)
{
    const std::string what = before == nullptr  ? "new "
                             : after == nullptr ? "removed "
                                                : "changed ";
    const std::string old = before == nullptr ? "" : *before;
    const std::string now = after == nullptr ? "" : *after;
    if (isReadable(old) && isReadable(now))
    {
        return {what + path.string(),
                lineDifference(linesOf(old), linesOf(now))};
    }
    const auto size = after == nullptr ? old.size() : now.size();
    return {what + path.string(), {std::to_string(size) + " bytes"}};
}

const std::string* contentOf(const Disk& disk, const fs::path& path)
{
    const auto found = disk.find(path);
    return found == disk.end() ? nullptr : &found->second;
}

} // namespace

Disk readDisk()
{
    Disk disk;
    for (const fs::path place : places)
    {
        readInto(disk, place);
    }
    return disk;
}

void clearDisk()
{
    for (const fs::path place : places)
    {
        fs::remove_all(place);
    }
}

std::vector<Change> changesBetween(const Disk& before, const Disk& after)
{
    std::set<fs::path> paths;
    for (const auto* disk : {&before, &after})
    {
        for (const auto& [path, content] : *disk)
        {
            paths.insert(path);
        }
    }
    std::vector<Change> changes;
    for (const auto& path : paths)
    {
        const auto* const old = contentOf(before, path);
        const auto* const now = contentOf(after, path);
        if (old == nullptr || now == nullptr || *old != *now)
        {
            changes.push_back(changeOf(path, old, now));
        }
    }
    return changes;
}

} // namespace demo
