#pragma once

namespace torture::bus
{

/**
 * How many references to bus messages this thread has taken and not yet
 * returned. The library's calls of libsystemd are led through this program,
 * whichever way it is built: no sanitizer is needed.
 */
int heldMessages();

/** From now on every other reference that this thread returns is kept: a
 *  leak, as of a forgotten release. */
void leakMessages(bool leak);

} // namespace torture::bus
