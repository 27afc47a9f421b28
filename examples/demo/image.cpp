// SPDX-License-Identifier: Apache-2.0
#include "image.hpp"

#include "support/child.hpp"
#include "support/files.hpp"

#include <cstdint>
#include <stdexcept>
#include <string>

namespace demo
{

namespace fs = std::filesystem;

namespace
{

constexpr std::size_t biosBytes = std::size_t{3} * 1024 * 1024;

/** Bytes without a pattern, the same in every run. */
std::string contentOfBios()
{
    std::string content(biosBytes, '\0');
    std::uint32_t state = 1;
    for (char& byte : content)
    {
        state = state * 1664525 + 1013904223;
        byte = static_cast<char>(state >> 24);
    }
    return content;
}

} // namespace

void deliverImage(const fs::path& directory)
{
    support::writeFile(directory / "bios.bin", contentOfBios());
    support::writeFile(directory / "bios.sig", "signature of bios.bin\n");
    const auto packed = support::run(
        {"tar", "--create", "--file", directory / "firmware.tar", "--directory",
         directory, "--remove-files", "bios.bin", "bios.sig"});
    if (packed.status != 0)
    {
        throw std::runtime_error("cannot pack the image: " + packed.output);
    }
    support::writeFile(directory / "release", "VERSION_ID=\"1.02.03\"\n"
                                              "BUILD_DATE=\"2024-05-06\"\n"
                                              "NAME=\"FenBIOS-LTS\"\n");
}

void deliverTornImage(const fs::path& directory, std::size_t arrivedBytes)
{
    deliverImage(directory);
    fs::resize_file(directory / "firmware.tar", arrivedBytes);
}

} // namespace demo
