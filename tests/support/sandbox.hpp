#pragma once

namespace support
{

/** How the process was set apart from the host. */
enum class Isolation
{
    overlay, //!< as root: an overlay of / above a tmpfs, entered by chroot
    mirrors, //!< else: /etc and /usr/share mirrored in a mount namespace
    inPlace  //!< the kernel refuses namespaces: the host itself, cleaned up
};

/**
 * Sets this process apart, so that the fixed paths of the library can be used
 * without touching the host: what is written there disappears with the
 * process. At first none of them exists, whatever the host holds. /run is
 * fresh and holds only an empty /run/lock; /proc, /dev and the build and
 * source trees stay as they are.
 *
 * Root gets the overlay, in which nothing but these trees can be changed and
 * /tmp is fresh too. Without root, or where the kernel has no overlay to give
 * (as in a rootless container), the process becomes root of a user namespace
 * and the entries of /etc, /etc/default and /usr/share are mounted one by one
 * into directories of its own: new entries disappear, old ones are the host's.
 *
 * Call it once, before the first thread starts.
 *
 * Where the kernel refuses namespaces it says so on standard error and stays
 * in place, but only if none of the fixed paths exists on the host; what the
 * tests make there is removed when the process exits (not when it crashes: the
 * next run then names the path that is left). Programs that stay in place wait
 * for each other here.
 *
 * @throws std::runtime_error naming what stands in the way; the process is
 *         then set apart by half and is to end
 */
Isolation enterSandbox();

} // namespace support
