#pragma once

namespace support
{

/**
 * Prepares to use the fixed paths on the host itself, and has what is made
 * there removed when this process exits. Blocks while another process does the
 * same.
 *
 * @throws std::runtime_error naming the first fixed path that exists
 */
void stayInPlace();

} // namespace support
