// SPDX-License-Identifier: Apache-2.0

// Backs up an image, and promotes it once its version runs.

#include <libfenmarch.hpp>

#include <iostream>

using phosphor::software::updater::FwManager;

int main(int argc, char** argv)
{
    if (argc != 3)
    {
        std::cerr << "usage: back_up DIRECTORY-OF-firmware.tar VERSION\n";
        return 2;
    }
    FwManager bios("Host");
    if (bios.getBackupImagePath().empty())
    {
        std::cerr << "there is no backup area\n";
        return 1;
    }

    // The image is moved: afterwards the directory does not have it any more.
    bios.backupImage(argv[1], argv[2]);

    // No status is returned; a service can check the slot itself.
    std::string verifying;
    std::string verified;
    bios.getBackupImageVersion(verifying, verified);
    std::cout << "to be verified: " << verifying << '\n';

    // After the restart, with the version that runs now.
    bios.verifyBackupImage(argv[2]);
    bios.getBackupImageVersion(verifying, verified);
    std::cout << "verified: " << verified << " in "
              << bios.getVerifiedBackupImagePath() << '\n';
}
