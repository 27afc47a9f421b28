// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

/**
 * Whether a file is a complete tar archive: every header has its checksum,
 * every member its content, and the archive its end. Reads the file and changes
 * nothing. Returns false if the file cannot be read.
 */
bool isWholeTar(const std::string& path);
