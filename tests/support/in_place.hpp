#pragma once

namespace support
{

/**
 * Prepares to use the fixed paths on the host itself, and has what is made
 * there removed, with the directories above it that were missing.
 *
 * The caller goes on in a child. The process itself stays behind: it passes
 * SIGINT, SIGQUIT, SIGTERM and SIGHUP on, waits for the end of the child, kills
 * what the child left running, removes what was made, and ends as the child
 * did. Blocks while another process is in place.
 *
 * Only SIGKILL to the process that stays behind leaves something. What there is
 * to remove is on record in /etc/libfenmarch-in-place, and the next call
 * removes it first and says so on standard error.
 *
 * @throws std::runtime_error, with nothing made, without the rights of root or
 *         naming all fixed paths that exist on this host
 */
void stayInPlace();

} // namespace support
