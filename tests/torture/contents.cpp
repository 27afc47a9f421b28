// SPDX-License-Identifier: Apache-2.0
#include "contents.hpp"

#include "support/files.hpp"

namespace torture
{

namespace fs = std::filesystem;

std::string nameOf(const std::string& content, const Names& names)
{
    for (const auto& [name, known] : names)
    {
        if (content == known)
        {
            return name;
        }
    }
    return "torn: " + content.substr(0, 200);
}

std::string lookAtFile(const fs::path& file, const Names& names)
{
    return fs::exists(file) ? nameOf(support::readFile(file), names) : "none";
}

void clear(const fs::path& directory)
{
    fs::create_directories(directory);
    for (const auto& entry : fs::directory_iterator(directory))
    {
        fs::remove_all(entry);
    }
}

void writeConfiguration()
{
    support::writeFile("/etc/default/firmware/config.json", R"({
    "BMC": {
        "updateable": "yes",
        "work_mode": "auto",
        "image_backup_path": "/run/backup"
    }
})");
}

} // namespace torture
