// SPDX-License-Identifier: Apache-2.0
#include "keep.hpp"

#include "support/checked.hpp"
#include "support/files.hpp"

#include <fcntl.h>

namespace demo
{

namespace fs = std::filesystem;

namespace
{

support::Descriptor openDirectory(const fs::path& path)
{
    fs::create_directories(path);
    return support::Descriptor(support::checked(
        open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC), path));
}

std::string textOf(const std::vector<std::string>& lines)
{
    std::string text;
    for (const auto& line : lines)
    {
        text += line + '\n';
    }
    return text;
}

} // namespace

Keep::Keep(const fs::path& directory) : descriptor(openDirectory(directory))
{
}

void Keep::save(const std::string& name, const ScenarioResult& result) const
{
    // Inside the sandbox the directory has no path.
    const fs::path directory =
        "/proc/self/fd/" + std::to_string(descriptor.get()) + '/' + name;
    fs::remove_all(directory);
    support::writeFile(directory / "bus.txt", textOf(result.calls));
    support::writeFile(directory / "journal.txt", textOf(result.log));
    for (const auto& [path, content] : result.disk)
    {
        support::writeFile(directory / path.relative_path(), content);
    }
}

} // namespace demo
