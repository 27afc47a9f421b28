#pragma once

#include <string>

/**
 * Whether a file is a whole tar archive: every header has its checksum, every
 * member its content, and the archive its end. Reads the file and changes
 * nothing; one that cannot be read is none.
 */
bool isWholeTar(const std::string& path);
