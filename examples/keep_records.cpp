// Saves records that must survive a restart, and reads them back.

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

    // A history consists of entries and a length; the caller saves the length.
    const int next = bios.getVersionCount("Staged");
    bios.saveVersion("Staged", next, "1.02.03");
    bios.saveVersionCount("Staged", next + 1);

    std::cout << bios.name << " is " << bios.readUpdateState() << ": "
              << bios.getVersion("Staged", next) << '\n';
}
