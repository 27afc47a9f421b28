/* A service outside of the tree: it catches what the library throws. */
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
