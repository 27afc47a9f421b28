// SPDX-License-Identifier: Apache-2.0

/* A unit test of a service that replaces the library by its own class. */
#include <libfenmarch.hpp>

#include <type_traits>

namespace phosphor::software::updater
{

FwManager::FwManager(const char* firmwareName) :
    name(firmwareName), bus(nullptr, std::false_type())
{
}

FwManager::~FwManager() = default;

int FwManager::disablePowerOp()
{
    return 7;
}

} // namespace phosphor::software::updater

int main()
{
    phosphor::software::updater::FwManager manager("BMC");
    return manager.disablePowerOp() == 7 ? 0 : 1;
}
