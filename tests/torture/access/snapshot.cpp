// SPDX-License-Identifier: Apache-2.0
#include "snapshot.hpp"

#include "support/files.hpp"

#include <filesystem>
#include <sstream>

namespace torture::access
{

namespace
{

namespace fs = std::filesystem;

std::string describe(const fs::path& path)
{
    const auto status = support::statusOf(path);
    std::ostringstream text;
    text << std::oct << status.st_mode << std::dec << ' ' << status.st_uid
         << ' ' << status.st_gid << ' ';
    if (S_ISREG(status.st_mode))
    {
        text << support::readFile(path);
    }
    if (S_ISLNK(status.st_mode))
    {
        text << fs::read_symlink(path).string();
    }
    return text.str();
}

} // namespace

Snapshot takeSnapshot(const std::vector<std::string>& paths)
{
    Snapshot snapshot;
    for (const auto& path : paths)
    {
        if (fs::is_directory(fs::symlink_status(path)))
        {
            for (const auto& entry : fs::recursive_directory_iterator(path))
            {
                snapshot[entry.path()] = describe(entry.path());
            }
        }
        if (fs::exists(fs::symlink_status(path)))
        {
            snapshot[path] = describe(path);
        }
    }
    return snapshot;
}

std::string differences(const Snapshot& before, const Snapshot& after)
{
    std::string text;
    for (const auto& [path, was] : before)
    {
        const auto now = after.find(path);
        if (now == after.end())
        {
            text += path + " is gone; ";
        }
        else if (now->second != was)
        {
            text += path + " is changed; ";
        }
    }
    for (const auto& [path, now] : after)
    {
        text += before.contains(path) ? "" : path + " is new; ";
    }
    return text;
}

} // namespace torture::access
