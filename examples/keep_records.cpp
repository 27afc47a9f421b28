// SPDX-License-Identifier: Apache-2.0

// Keeps what has to survive a restart, and reads it back.

#include <libfenmarch.hpp>

#include <iostream>

int main()
{
    phosphor::software::updater::FwManager bios("Host");

    // Each waits until its record is on the disk.
    if (bios.saveImageCheckResult(true) != 0 ||
        bios.saveUpdateState("staged") != 0)
    {
        return 1;
    }

    // A history is entries and a length, which is the caller's to keep.
    const int next = bios.getVersionCount("Staged");
    bios.saveVersion("Staged", next, "1.02.03");
    bios.saveVersionCount("Staged", next + 1);

    std::cout << bios.name << " is " << bios.readUpdateState() << ": "
              << bios.getVersion("Staged", next) << '\n';
}
