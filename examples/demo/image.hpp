// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>

namespace demo
{

/** Puts an image into the directory as the upload does: a firmware.tar with
 *  bios.bin, of three MiB, and bios.sig, beside a release file. */
void deliverImage(const std::filesystem::path& directory);

/** The same image, cut to this size. */
void deliverTornImage(const std::filesystem::path& directory,
                      std::size_t arrivedBytes);

} // namespace demo
