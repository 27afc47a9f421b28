// SPDX-License-Identifier: Apache-2.0
#include <libfenmarch.hpp>
#include <sdbusplus/bus.hpp>
#include <systemd/sd-bus.h>

#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace phosphor::software::updater
{

namespace
{

/** The calling thread's default connection, which is closed when it is
 *  released; no connection when the bus cannot be reached. */
sdbusplus::bus_t defaultConnection()
{
    sd_bus* connection = nullptr;
    // The result is ignored: the bus operations report a missing connection.
    sd_bus_default(&connection);
    try
    {
        sdbusplus::bus_t bus(connection, std::false_type());
        bus.set_should_close(true);
        return bus;
    }
    catch (const std::logic_error&)
    {
        // The connection has no name: it is closed, it broke while it was set
        // up, or it belongs to the process that forked this one.
        return {nullptr, std::false_type()};
    }
}

} // namespace

// The bodies set name and purpose: the bus is open by then.

FwManager::FwManager(VersionPurpose firmwarePurpose) : bus(defaultConnection())
{
    name = getNameFromVersionPurpose(firmwarePurpose);
    purpose = firmwarePurpose;
}

FwManager::FwManager(std::string firmwareName) : bus(defaultConnection())
{
    name = std::move(firmwareName);
    purpose = getVersionPurposeFromName(name);
}

FwManager::FwManager(const char* firmwareName) : bus(defaultConnection())
{
    name = std::string(firmwareName);
    purpose = getVersionPurposeFromName(name);
}

FwManager::FwManager() : FwManager("Unknown")
{
}

FwManager::~FwManager() = default;

bool FwManager::isConfig()
{
    loadConfigContent();
    return configured;
}

bool FwManager::getUpdateable()
{
    loadConfigContent();
    return updateable;
}

std::string FwManager::getWorkMode()
{
    loadConfigContent();
    return workMode;
}

std::vector<std::string> FwManager::getImageList()
{
    loadConfigContent();
    return imageList;
}

std::vector<std::string> FwManager::getImageBackupMount()
{
    loadConfigContent();
    return imageBackupMount;
}

std::vector<std::string> FwManager::getOptions()
{
    loadConfigContent();
    return options;
}

std::vector<std::string> FwManager::getApplyTimeOptions()
{
    loadConfigContent();
    return applyTimeOptions;
}

std::string FwManager::getProcGetVersion()
{
    loadConfigContent();
    return procGetVersion;
}

std::string FwManager::getProcImageCheck()
{
    loadConfigContent();
    return procImageCheck;
}

std::string FwManager::getProcUpdate()
{
    loadConfigContent();
    return procUpdate;
}

std::string FwManager::getProcActive()
{
    loadConfigContent();
    return procActive;
}

std::string FwManager::getProcPowerUp()
{
    loadConfigContent();
    return procPowerUp;
}

std::string FwManager::getProcPowerDown()
{
    loadConfigContent();
    return procPowerDown;
}

} // namespace phosphor::software::updater
