// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace fenmarch
{

/**
 * Copies a regular file, links followed, and waits until its content is on the
 * disk. Nothing but a regular file is opened.
 *
 * The copy is a new file with the default mode of the process. If its name
 * exists already, even as a dangling link, nothing is copied. Without a source
 * no file is made. A copy that fails halfway is left. Nothing is reported.
 */
void copyImage(const std::string& source, const std::string& copy);

} // namespace fenmarch
