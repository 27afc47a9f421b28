// SPDX-License-Identifier: Apache-2.0

// Prints the configuration of a firmware.

#include <libfenmarch.hpp>

#include <iostream>

using phosphor::software::updater::FwManager;

int main(int argc, char** argv)
{
    FwManager firmware(argc > 1 ? argv[1] : "BMC");
    if (!firmware.isConfig())
    {
        std::cerr << firmware.name << " is not configured\n";
        return 1;
    }
    std::cout << firmware.name << " may be updated: "
              << (firmware.getUpdateable() ? "yes" : "no") << '\n';
    for (const auto& image : firmware.getImageList())
    {
        std::cout << "image " << image << '\n';
    }
    for (const auto& option : firmware.getOptions())
    {
        std::cout << "option " << option << '\n';
    }
}
