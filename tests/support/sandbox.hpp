// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace support
{

/** How the process was isolated from the host. */
enum class Isolation
{
    overlay, //!< as root: an overlay of / above a tmpfs, entered by chroot
    mirrors, //!< else: /etc and /usr/share mirrored in a mount namespace
    inPlace  //!< on request: not at all, but new files are removed at the end
};

/** Has enterSandbox() stay in place, unless it is unset or empty. */
inline constexpr auto inPlaceVariable = "LIBFENMARCH_IN_PLACE";

bool inPlaceIsAskedFor();

/**
 * Isolates this process, so that it can use the fixed paths of the library
 * without touching the host: everything written there disappears with the
 * process. At first no fixed path exists, even if the host has it. /run is
 * fresh and holds only an empty /run/lock; /proc, /dev and the build and
 * source trees stay as they are.
 *
 * Root gets the overlay, in which nothing but these trees can be changed and
 * /tmp is fresh too. Without root, or where the kernel has no overlay to give
 * (as in a rootless container), the process becomes root of a user namespace
 * and the entries of /etc, /etc/default and /usr/share are mounted one by one
 * into directories of its own: new entries disappear, old ones are the host's.
 *
 * Where the environment asks for it, the process uses the fixed paths of the
 * host itself instead: see stayInPlace(). It is a forked child then, and other
 * programs that stay in place wait until it has ended.
 *
 * Call it once, before the first thread and the first child start.
 *
 * @throws std::runtime_error with two lines: what is missing, and what to do.
 *         The process may be partly isolated then, and must end.
 */
Isolation enterSandbox();

} // namespace support
