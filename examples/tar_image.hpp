#pragma once

#include <functional>
#include <string>

/**
 * Whether a file is a whole tar archive: every header has its checksum, every
 * member its content, and the archive its end. Reads the file and changes
 * nothing; one that cannot be read is none.
 *
 * @param report  called with the percentage read: 0 first, 100 at the end of a
 *                whole archive, no value twice
 */
bool isWholeTar(const std::string& path,
                const std::function<void(int percent)>& report);
