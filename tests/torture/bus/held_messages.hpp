// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace torture::bus
{

/**
 * The number of references to bus messages that this thread has taken and not
 * yet returned. The library's calls to libsystemd pass through this program in
 * every build, so no sanitizer is needed.
 */
int heldMessages();

/** From now on this thread keeps every second reference that it should
 *  return: a leak, as from a forgotten release. */
void leakMessages(bool leak);

} // namespace torture::bus
