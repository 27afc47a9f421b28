// SPDX-License-Identifier: Apache-2.0
#include "../bus/call.hpp"
#include "../paths_and_names.hpp"

#include <libfenmarch.hpp>
#include <phosphor-logging/lg2.hpp>

#include <source_location>

namespace phosphor::software::updater
{

using namespace fenmarch;

namespace
{

/** Means every entry and the length; only deleteVersion() knows it. */
constexpr int allVersions = 65535;

std::string countKey(const std::string& activation)
{
    return activation + records::countSuffix;
}

std::string entryKey(const std::string& activation, int sequence)
{
    return activation + "_" + std::to_string(sequence);
}

void deleteStagedBios(sdbusplus::bus_t& bus,
                      const std::source_location& operation)
{
    callDbusMethod(
        bus,
        {services::bmcUpdater, objects::biosStaged, interfaces::objectDelete},
        "Delete", [&](const auto& error) {
            lg2::error(operation, "Delete bios_staged version failed: {ERROR}",
                       "ERROR", error);
        });
}

/** @param operation  the location in the log records */
void deleteAllVersions(
    FwManager& manager, const std::string& activation,
    const std::source_location& operation = std::source_location::current())
{
    // A malformed length throws here, before anything is deleted.
    const int count = manager.getVersionCount(activation);
    lg2::info(operation, "{NAME}: Delete {ACTIVE} all version", "NAME",
              manager.name, "ACTIVE", activation);
    for (int sequence = 0; sequence < count; ++sequence)
    {
        manager.deleteVersionStringFromInfo(entryKey(activation, sequence));
    }
    manager.deleteVersionStringFromInfo(countKey(activation));

    if (manager.purpose == VersionPurpose::Host && activation == "Staged")
    {
        deleteStagedBios(manager.bus, operation);
    }
}

} // namespace

int FwManager::saveVersionCount(std::string activation, int count)
{
    lg2::info("{NAME}: Save {ACTIVE} version count to {COUNT}", "NAME", name,
              "ACTIVE", activation, "COUNT", count);
    return saveVersionStringFromInfo(countKey(activation),
                                     std::to_string(count));
}

int FwManager::saveVersion(std::string activation, int sequence,
                           std::string version)
{
    lg2::info("{NAME}: Save {ACTIVE} version_{SEQ} {VERSION}", "NAME", name,
              "ACTIVE", activation, "SEQ", sequence, "VERSION", version);
    return saveVersionStringFromInfo(entryKey(activation, sequence),
                                     std::move(version));
}

int FwManager::getVersionCount(std::string activation)
{
    const std::string text = getVersionStringFromInfo(countKey(activation));
    return text.empty() ? 0 : std::stoi(text);
}

std::string FwManager::getVersion(std::string activation, int sequence)
{
    return getVersionStringFromInfo(entryKey(activation, sequence));
}

int FwManager::deleteVersion(std::string activation, int sequence)
{
    if (sequence == allVersions)
    {
        deleteAllVersions(*this, activation);
        return 0;
    }
    lg2::info("{NAME}: Delete {ACTIVE} version_{SEQ}", "NAME", name, "ACTIVE",
              activation, "SEQ", sequence);
    deleteVersionStringFromInfo(entryKey(activation, sequence));
    return 0;
}

} // namespace phosphor::software::updater
