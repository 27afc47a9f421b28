// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace ostrel
{

/**
 * Reads a whole file. Nothing but a regular file is read, and none can hang
 * the reader.
 *
 * @return its content, or nothing when there is no file
 * @throws std::system_error with EISDIR for a directory, with ENOTSUP for any
 *         other file that is not regular, with EFBIG for a larger one, or with
 *         the errno of the call that failed; std::bad_alloc
 */
[[nodiscard]] std::optional<std::string>
readRegularFile(const std::string& path, size_t mostBytes);

} // namespace ostrel
