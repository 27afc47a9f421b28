// SPDX-License-Identifier: Apache-2.0
#include "files.hpp"

#include "checked.hpp"
#include "descriptor.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace support
{

namespace fs = std::filesystem;

namespace
{

fs::path makeScratchDirectory()
{
    std::string pattern = fs::temp_directory_path() / "fenmarch.XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr)
    {
        throwErrno(pattern);
    }
    return pattern;
}

} // namespace

ScratchDirectory::ScratchDirectory() : path(makeScratchDirectory())
{
}

ScratchDirectory::~ScratchDirectory()
{
    std::error_code ignored;
    fs::remove_all(path, ignored);
}

std::string readFile(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
    {
        throw std::runtime_error("cannot read " + path.string());
    }
    std::ostringstream content;
    content << file.rdbuf();
    return std::move(content).str();
}

void writeFile(const fs::path& path, const std::string& content)
{
    fs::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << content << std::flush;
    if (!file)
    {
        throw std::runtime_error("cannot write " + path.string());
    }
}

std::vector<std::string> namesIn(const fs::path& directory)
{
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(directory))
    {
        names.push_back(entry.path().filename());
    }
    std::ranges::sort(names);
    return names;
}

void setYear2040(const fs::path& path)
{
    // The first of January.
    const std::array<timespec, 2> times{
        {{.tv_sec = 2'208'988'800, .tv_nsec = 0},
         {.tv_sec = 2'208'988'800, .tv_nsec = 0}}};
    checked(
        ::utimensat(AT_FDCWD, path.c_str(), times.data(), AT_SYMLINK_NOFOLLOW),
        path);
}

struct stat statusOf(const fs::path& path)
{
    struct stat status = {};
    checked(::lstat(path.c_str(), &status), path);
    return status;
}

bool untouched(const struct stat& before, const struct stat& after)
{
    return before.st_ino == after.st_ino && before.st_dev == after.st_dev &&
           before.st_mtim.tv_sec == after.st_mtim.tv_sec &&
           before.st_mtim.tv_nsec == after.st_mtim.tv_nsec;
}

fs::path fillUp(const fs::path& directory)
{
    fs::path filler = directory / "filler";
    const Descriptor file(checked(
        ::open(filler.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600), filler));
    constexpr std::array<char, 512> block{};
    while (::write(file.get(), block.data(), block.size()) > 0)
    {
    }
    return filler;
}

} // namespace support
