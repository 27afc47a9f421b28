#include <libfenmarch.hpp>

namespace phosphor::software::updater
{

template <typename Bus, std::size_t size>
const char FwManager::builtOn = 0;
template const char
    FwManager::builtOn<sdbusplus::bus_t, sizeof(sdbusplus::bus_t)>;

// Name and purpose are set in the bodies: the bus is open by then.

FwManager::FwManager(VersionPurpose firmwarePurpose) :
    bus(sdbusplus::bus::new_default())
{
    name = getNameFromVersionPurpose(firmwarePurpose);
    purpose = firmwarePurpose;
}

FwManager::FwManager(std::string firmwareName) :
    bus(sdbusplus::bus::new_default())
{
    name = std::move(firmwareName);
    purpose = getVersionPurposeFromName(name);
}

FwManager::FwManager(const char* firmwareName) :
    bus(sdbusplus::bus::new_default())
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
