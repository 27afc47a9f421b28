// SPDX-License-Identifier: Apache-2.0
#include "operations.hpp"

namespace torture::bus
{

namespace
{

using phosphor::software::updater::FwManager;

constexpr auto bmcService = "xyz.openbmc_project.Software.BMC.Updater";
constexpr auto firmwareService = "xyz.openbmc_project.Firmware.Updater";
constexpr auto software = "/xyz/openbmc_project/software/";
constexpr auto options = "/xyz/openbmc_project/software/update_option/";
constexpr auto staged = "/xyz/openbmc_project/software/bios_staged";
constexpr auto button = "/xyz/openbmc_project/chassis/buttons/power";

template <auto operation>
Returned write(FwManager& manager, const std::string& object,
               const std::string& text)
{
    return {std::to_string((manager.*operation)(object, text)), ""};
}

template <auto operation>
Returned setProgress(FwManager& manager, const std::string& object,
                     const std::string& ignored)
{
    constexpr uint8_t percent = 42;
    return {std::to_string((manager.*operation)(object, percent, ignored)), ""};
}

template <auto operation>
Returned read(FwManager& manager, const std::string& object, const std::string&)
{
    std::string version = "before";
    const int status = (manager.*operation)(object, version);
    return {std::to_string(status), version};
}

template <auto operation>
Returned mask(FwManager& manager, const std::string&, const std::string&)
{
    return {std::to_string((manager.*operation)()), ""};
}

Returned initOptions(FwManager& manager, const std::string& object,
                     const std::string& text)
{
    manager.name = object;
    return {std::to_string(manager.initUpdateOption({text, "b"})), ""};
}

Returned readOption(FwManager& manager, const std::string& object,
                    const std::string&)
{
    manager.name = object;
    return {"", manager.readOption()};
}

Returned deleteAll(FwManager& manager, const std::string&, const std::string&)
{
    constexpr int all = 65535;
    return {std::to_string(manager.deleteVersion("Staged", all)), ""};
}

} // namespace

const std::vector<Operation>& operations()
{
    using enum Column;
    static const std::vector<Operation> all{
        {"setBmcUpdateProgress",
         plain,
         setProgress<&FwManager::setBmcUpdateProgress>,
         bmcService,
         software,
         "bios_active",
         "Progress",
         "y 42",
         "Set {NAME} progress failed: {ERROR}",
         "NAME",
         {"-1", ""},
         ""},
        {"setBmcVersion",
         text,
         write<&FwManager::setBmcVersion>,
         bmcService,
         software,
         "bios_active",
         "Version",
         "s ",
         "Set {NAME} version failed: {ERROR}",
         "NAME",
         {"-1", ""},
         "VERSION_ID"},
        {"setBmcReleaseDate",
         text,
         write<&FwManager::setBmcReleaseDate>,
         bmcService,
         software,
         "bios_active",
         "ReleaseDate",
         "s ",
         "Set {NAME} release date failed: {ERROR}",
         "NAME",
         {"-1", ""},
         "BUILD_DATE"},
        {"setBmcName",
         text,
         write<&FwManager::setBmcName>,
         bmcService,
         software,
         "bios_active",
         "Subname",
         "s ",
         "Set {NAME} name failed: {ERROR}",
         "NAME",
         {"-1", ""},
         "NAME"},
        {"getBmcVersion",
         get,
         read<&FwManager::getBmcVersion>,
         bmcService,
         software,
         "bios_active",
         "Version",
         "",
         "Get {NAME} version failed: {ERROR}",
         "NAME",
         {"-1", "before"},
         ""},
        {"setFirmwareUpdateProgress",
         plain,
         setProgress<&FwManager::setFirmwareUpdateProgress>,
         firmwareService,
         software,
         "bios_active",
         "Progress",
         "y 42",
         "Set {NAME} progress failed: {ERROR}",
         "NAME",
         {"-1", ""},
         ""},
        {"setFirmwareVersion",
         text,
         write<&FwManager::setFirmwareVersion>,
         firmwareService,
         software,
         "bios_active",
         "Version",
         "s ",
         "Set {NAME} version failed: {ERROR}",
         "NAME",
         {"-1", ""},
         ""},
        {"setFirmwareReleaseDate",
         text,
         write<&FwManager::setFirmwareReleaseDate>,
         firmwareService,
         software,
         "bios_active",
         "ReleaseDate",
         "s ",
         "Set {NAME} version failed: {ERROR}",
         "NAME",
         {"-1", ""},
         ""},
        {"setFirmwareName",
         text,
         write<&FwManager::setFirmwareName>,
         firmwareService,
         software,
         "bios_active",
         "Subname",
         "s ",
         "Set {NAME} subname failed: {ERROR}",
         "NAME",
         {"-1", ""},
         ""},
        {"getFirmwareVersion",
         get,
         read<&FwManager::getFirmwareVersion>,
         firmwareService,
         software,
         "bios_active",
         "Version",
         "",
         "Get {NAME} version failed: {ERROR}",
         "NAME",
         {"-1", "before"},
         ""},
        {"initUpdateOption, the options",
         list,
         initOptions,
         "xyz.openbmc_project.Settings",
         options,
         "BMC",
         "AvailableOptions",
         "as ",
         "Init {PURPOSE} available options failed: {ERROR}",
         "PURPOSE",
         {"-1", ""},
         ""},
        {"initUpdateOption, the request",
         plain,
         initOptions,
         "xyz.openbmc_project.Settings",
         options,
         "BMC",
         "RequestedOption",
         "s \"\"",
         "Init {PURPOSE} requested option failed: {ERROR}",
         "PURPOSE",
         {"-1", ""},
         "",
         true},
        {"readOption",
         get,
         readOption,
         "xyz.openbmc_project.Settings",
         options,
         "BMC",
         "RequestedOption",
         "",
         "Read {PURPOSE} requested option failed: {ERROR}",
         "PURPOSE",
         {"", ""},
         ""},
        {"disablePowerOp",
         plain,
         mask<&FwManager::disablePowerOp>,
         "xyz.openbmc_project.State.Host",
         button,
         "",
         "ButtonMasked",
         "b true",
         "Disable power operation failed: {ERROR}",
         "",
         {"-1", ""},
         ""},
        {"enablePowerOp",
         plain,
         mask<&FwManager::enablePowerOp>,
         "xyz.openbmc_project.State.Host",
         button,
         "",
         "ButtonMasked",
         "b false",
         "Enable power operation failed: {ERROR}",
         "",
         {"-1", ""},
         ""},
        {"deleteVersion of all staged",
         plain,
         deleteAll,
         bmcService,
         staged,
         "",
         "Delete",
         "",
         "Delete bios_staged version failed: {ERROR}",
         "",
         {"0", ""},
         ""},
    };
    return all;
}

} // namespace torture::bus
