// SPDX-License-Identifier: Apache-2.0
#include "call.hpp"

#include <libfenmarch.hpp>
#include <phosphor-logging/lg2.hpp>

#include <source_location>

namespace phosphor::software::updater
{

using namespace fenmarch;

namespace
{

/** A property of the software objects of one of the updater services. */
struct SoftwareProperty
{
    const char* service;
    const char* interface;
    const char* property;
    /** What is logged when an exchange fails. */
    const char* failure;
    /** The item of the BIOS release file that gets the same value, or null. */
    const char* releaseItem = nullptr;
};

// The messages do not all have the same form, and other programs know them so:
// the release date of the firmware family fails with the message of its
// version.

constexpr SoftwareProperty bmcProgress{
    services::bmcUpdater, interfaces::activationProgress, "Progress",
    "Set {NAME} progress failed: {ERROR}"};
constexpr SoftwareProperty bmcVersion{
    services::bmcUpdater, interfaces::version, "Version",
    "Set {NAME} version failed: {ERROR}", "VERSION_ID"};
constexpr SoftwareProperty bmcReleaseDate{
    services::bmcUpdater, interfaces::version, "ReleaseDate",
    "Set {NAME} release date failed: {ERROR}", "BUILD_DATE"};
constexpr SoftwareProperty bmcName{services::bmcUpdater, interfaces::version,
                                   "Subname", "Set {NAME} name failed: {ERROR}",
                                   "NAME"};
constexpr SoftwareProperty bmcVersionRead{services::bmcUpdater,
                                          interfaces::version, "Version",
                                          "Get {NAME} version failed: {ERROR}"};

constexpr SoftwareProperty firmwareProgress{
    services::firmwareUpdater, interfaces::activationProgress, "Progress",
    "Set {NAME} progress failed: {ERROR}"};
constexpr SoftwareProperty firmwareVersion{
    services::firmwareUpdater, interfaces::version, "Version",
    "Set {NAME} version failed: {ERROR}"};
constexpr SoftwareProperty firmwareReleaseDate{
    services::firmwareUpdater, interfaces::version, "ReleaseDate",
    "Set {NAME} version failed: {ERROR}"};
constexpr SoftwareProperty firmwareName{services::firmwareUpdater,
                                        interfaces::version, "Subname",
                                        "Set {NAME} subname failed: {ERROR}"};
constexpr SoftwareProperty firmwareVersionRead{
    services::firmwareUpdater, interfaces::version, "Version",
    "Get {NAME} version failed: {ERROR}"};

DbusInterface softwareObject(const SoftwareProperty& row,
                             const std::string& name)
{
    return {row.service, objects::softwarePrefix + name, row.interface};
}

// The location is that of the public operation: some operations share a
// message, and only the location shows which of them failed.

using Location = std::source_location;

auto logFailure(const SoftwareProperty& row, const std::string& name,
                const Location& operation)
{
    return [&](const auto& error) {
        lg2::error(operation, row.failure, "NAME", name, "ERROR", error);
    };
}

template <typename Value>
int publish(sdbusplus::bus_t& bus, const SoftwareProperty& row,
            const std::string& name, const Value& value,
            const Location& operation = Location::current())
{
    return setDbusProperty(bus, softwareObject(row, name), row.property, value,
                           logFailure(row, name, operation));
}

/** Publishes a value, and writes it to the release file for the active BIOS. */
int publishText(sdbusplus::bus_t& bus, const SoftwareProperty& row,
                const std::string& name, const std::string& text,
                const Location& operation = Location::current())
{
    const int status = publish(bus, row, name, text, operation);
    if (status == 0 && row.releaseItem != nullptr &&
        name == objects::biosActiveName)
    {
        bmcReleaseFileItemSet(paths::biosRelease, row.releaseItem, text);
    }
    return status;
}

int fetchText(sdbusplus::bus_t& bus, const SoftwareProperty& row,
              const std::string& name, std::string& text,
              const Location& operation = Location::current())
{
    return getDbusProperty(bus, softwareObject(row, name), row.property, text,
                           logFailure(row, name, operation));
}

} // namespace

int FwManager::setBmcUpdateProgress(const std::string& object, uint8_t progress,
                                    const std::string& /* ignored */)
{
    return publish(bus, bmcProgress, object, progress);
}

int FwManager::setBmcVersion(const std::string& object,
                             const std::string& version)
{
    return publishText(bus, bmcVersion, object, version);
}

int FwManager::setBmcReleaseDate(const std::string& object,
                                 const std::string& date)
{
    return publishText(bus, bmcReleaseDate, object, date);
}

int FwManager::setBmcName(const std::string& object, const std::string& subname)
{
    return publishText(bus, bmcName, object, subname);
}

int FwManager::getBmcVersion(const std::string& object, std::string& version)
{
    return fetchText(bus, bmcVersionRead, object, version);
}

int FwManager::setFirmwareUpdateProgress(const std::string& object,
                                         uint8_t progress,
                                         const std::string& /* ignored */)
{
    return publish(bus, firmwareProgress, object, progress);
}

int FwManager::setFirmwareVersion(const std::string& object,
                                  const std::string& version)
{
    return publishText(bus, firmwareVersion, object, version);
}

int FwManager::setFirmwareReleaseDate(const std::string& object,
                                      const std::string& date)
{
    return publishText(bus, firmwareReleaseDate, object, date);
}

int FwManager::setFirmwareName(const std::string& object,
                               const std::string& subname)
{
    return publishText(bus, firmwareName, object, subname);
}

int FwManager::getFirmwareVersion(const std::string& object,
                                  std::string& version)
{
    return fetchText(bus, firmwareVersionRead, object, version);
}

} // namespace phosphor::software::updater
