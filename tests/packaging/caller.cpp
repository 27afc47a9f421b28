// SPDX-License-Identifier: Apache-2.0

/* A service outside the tree: it catches the exceptions of the library. */
#include <libfenmarch.hpp>
#include <sdbusplus/exception.hpp>

#include <iostream>

int main()
{
    phosphor::software::updater::FwManager manager("BMC");
    try
    {
        manager.disablePowerOp();
    }
    catch (const sdbusplus::exception::SdBusError& error)
    {
        std::cout << error.name() << '\n';
        return 0;
    }
    return 1;
}
