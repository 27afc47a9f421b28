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

constexpr auto requestedOption = "RequestedOption";

/** The settings service calls the host's firmware "BIOS". */
DbusInterface updateOptionOf(const std::string& name)
{
    return {services::settings,
            objects::updateOptionPrefix + (name == "Host" ? "BIOS" : name),
            interfaces::updateOption};
}

} // namespace

int FwManager::initUpdateOption(const std::vector<std::string>& available)
{
    const auto here = std::source_location::current();
    const auto target = updateOptionOf(name);
    const int published = setDbusProperty(
        bus, target, "AvailableOptions", available, [&](const auto& error) {
            lg2::error(here, "Init {PURPOSE} available options failed: {ERROR}",
                       "PURPOSE", name, "ERROR", error);
        });
    if (published != 0)
    {
        return published;
    }
    return setDbusProperty(
        bus, target, requestedOption, std::string(), [&](const auto& error) {
            lg2::error(here, "Init {PURPOSE} requested option failed: {ERROR}",
                       "PURPOSE", name, "ERROR", error);
        });
}

std::string FwManager::readOption()
{
    const auto here = std::source_location::current();
    std::string option;
    getDbusProperty(
        bus, updateOptionOf(name), requestedOption, option,
        [&](const auto& error) {
            lg2::error(here, "Read {PURPOSE} requested option failed: {ERROR}",
                       "PURPOSE", name, "ERROR", error);
        });
    return option;
}

} // namespace phosphor::software::updater
