// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace support
{

/**
 * Prepares to use the fixed paths on the host itself. At the end, everything
 * made there is removed, with the directories above it that were missing.
 *
 * The caller continues in a child. The process itself stays behind: it passes
 * SIGINT, SIGQUIT, SIGTERM and SIGHUP on, waits for the end of the child, kills
 * what the child left running, removes what was made, and ends as the child
 * did. Blocks while another process is in place.
 *
 * Only SIGKILL to the process that stays behind leaves something. The paths to
 * remove are listed in /etc/libfenmarch-in-place. The next call removes them
 * first and reports this on standard error.
 *
 * @throws std::runtime_error, with nothing made, without the rights of root or
 *         naming all fixed paths that exist on this host
 */
void stayInPlace();

} // namespace support
