// SPDX-License-Identifier: Apache-2.0

// Usage: backup DIRECTORY COUNT
//
// Prints the nanoseconds of the backup of an image of 64 MiB by the library,
// and by cp and sync, COUNT times in turns. Runs in the sandbox, which shows
// the directory as it is.

#include "support/child.hpp"
#include "support/files.hpp"

#include <libfenmarch.hpp>

#include <unistd.h>

#include <chrono>
#include <exception>
#include <filesystem>
#include <functional>
#include <iostream>
#include <stdexcept>

namespace
{

namespace fs = std::filesystem;

constexpr size_t imageBytes = 64 << 20;

long nanosecondsOf(const std::function<void()>& operation)
{
    // What was removed before is not this one's to write.
    ::sync();
    const auto start = std::chrono::steady_clock::now();
    operation();
    return std::chrono::nanoseconds(std::chrono::steady_clock::now() - start)
        .count();
}

void requireImage(const fs::path& path)
{
    if (!fs::exists(path) || fs::file_size(path) != imageBytes)
    {
        throw std::runtime_error("no whole image: " + path.string());
    }
}

long library(const fs::path& directory)
{
    // The backup removes its source, which is a link to be cheap.
    fs::create_directories(directory / "incoming");
    fs::create_hard_link(directory / "image",
                         directory / "incoming/firmware.tar");
    phosphor::software::updater::FwManager manager("Host");
    const long nanoseconds = nanosecondsOf(
        [&] { manager.backupImage(directory / "incoming", "1.0"); });
    const auto slot = directory / "backup/Host/verifying";
    requireImage(slot / "firmware.tar");
    fs::remove_all(slot);
    return nanoseconds;
}

long copyAndSync(const fs::path& directory)
{
    const auto copy = directory / "copy/firmware.tar";
    fs::create_directories(copy.parent_path());
    const long nanoseconds = nanosecondsOf([&] {
        support::run({"cp", directory / "image", copy});
        support::run({"sync", copy, copy.parent_path()});
    });
    requireImage(copy);
    fs::remove_all(copy.parent_path());
    return nanoseconds;
}

} // namespace

int main(int, char** argv)
try
{
    const fs::path directory = argv[1];
    support::writeFile("/etc/default/firmware/config.json",
                       R"({"Host":{"updateable":"yes","image_backup_path":")" +
                           (directory / "backup").string() + R"("}})");
    support::writeFile(directory / "image", std::string(imageBytes, 'i'));
    library(directory);
    copyAndSync(directory);
    for (unsigned long i = std::stoul(argv[2]); i > 0; --i)
    {
        long nanoseconds = i % 2 == 0 ? library(directory) : 0;
        const long others = copyAndSync(directory);
        nanoseconds = i % 2 == 0 ? nanoseconds : library(directory);
        std::cout << nanoseconds << ' ' << others << '\n';
    }
    return 0;
}
catch (const std::exception& problem)
{
    std::cerr << problem.what() << '\n';
    return 1;
}
