// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <string>

namespace support
{

/**
 * A private dbus-daemon as the system bus. The constructor starts it and
 * returns once it accepts connections; the destructor ends it.
 *
 * It listens where the system bus listens, so enterSandbox() comes first. The
 * environment is set so that sd_bus_default() of this process and of its
 * children takes this bus.
 */
class PrivateBus
{
  public:
    /** @throws std::runtime_error when the daemon does not come up */
    PrivateBus();
    ~PrivateBus();

    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    /** Ends the daemon: every connection breaks. Returns once it is gone. */
    void stop();

    /** Starts a stopped daemon again, at the same address. */
    void start();

    /** The D-Bus address, for connections other than the default one. */
    static std::string address();

  private:
    pid_t daemon = -1;
};

} // namespace support
