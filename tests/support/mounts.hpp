// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>

namespace support
{

/** Each throws std::system_error naming the target when the kernel refuses. */

/** A fresh tmpfs of this mode (octal text) over an existing directory. */
void mountTmpfs(const std::filesystem::path& target, const char* mode);

/** Shows the source, a directory with its mounts or a file, at the target too;
 *  the target exists and is of the same kind. */
void bindMount(const std::filesystem::path& source,
               const std::filesystem::path& target);

/** From now on no mount of this namespace is seen in other namespaces. */
void makeMountsPrivate();

/**
 * An overlay of / whose changes go to the directories upper and work.
 * @return false, with nothing mounted, if the kernel does not allow it
 */
bool mountRootOverlay(const std::filesystem::path& target,
                      const std::filesystem::path& upper,
                      const std::filesystem::path& work);

} // namespace support
