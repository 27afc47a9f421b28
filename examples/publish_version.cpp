// SPDX-License-Identifier: Apache-2.0

// Masks the power button during an update, and publishes it on the bus.

#include <libfenmarch.hpp>
#include <sdbusplus/exception.hpp>

#include <array>
#include <iostream>

using phosphor::software::updater::FwManager;

namespace
{

int update(FwManager& bios)
{
    if (bios.disablePowerOp() != 0)
    {
        return 1; // the reason is in the journal
    }
    constexpr std::array<uint8_t, 3> progressPercent{0, 50, 100};
    for (const auto percent : progressPercent)
    {
        bios.setBmcUpdateProgress("bios_active", percent, "");
    }
    int status = bios.setBmcVersion("bios_active", "1.02.03");
    status |= bios.setBmcReleaseDate("bios_active", "2024-05-06");
    status |= bios.setBmcName("bios_active", "Example");

    // The end of the program does not undo the mask.
    status |= bios.enablePowerOp();
    return status == 0 ? 0 : 1;
}

} // namespace

int main()
try
{
    FwManager bios("Host");
    const int status = update(bios);
    std::string version;
    if (bios.getBmcVersion("bios_active", version) == 0)
    {
        std::cout << "bios_active shows " << version << '\n';
    }
    return status;
}
catch (const sdbusplus::exception::SdBusError& error)
{
    std::cerr << "no bus: " << error.what() << '\n';
    return 1;
}
