// SPDX-License-Identifier: Apache-2.0

// Replaces the library's function in a daemon that answers correctly but does
// the wrong thing: it unmasks the power button instead of masking it.

#include <libfenmarch.hpp>

int phosphor::software::updater::FwManager::disablePowerOp()
{
    return enablePowerOp();
}
