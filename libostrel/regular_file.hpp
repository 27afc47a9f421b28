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
 * @throws std::system_error with EISDIR for a directory, with ENOTSUP for
 *         what else is no regular file, with ENOMEM, or with what stands in
 *         the way of reading; std::bad_alloc
 */
[[nodiscard]] std::optional<std::string>
readRegularFile(const std::string& path);

} // namespace ostrel
