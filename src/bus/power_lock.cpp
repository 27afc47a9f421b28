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

/** @param operation  the location in the log record of a failure */
int setButtonMasked(
    sdbusplus::bus_t& bus, bool masked, const char* failure,
    const std::source_location& operation = std::source_location::current())
{
    // The service of the host state owns the buttons, not one of the chassis.
    return setDbusProperty(
        bus, {services::hostState, objects::powerButton, interfaces::buttons},
        "ButtonMasked", masked, [&](const auto& error) {
            lg2::error(operation, failure, "ERROR", error);
        });
}

} // namespace

int FwManager::disablePowerOp()
{
    return setButtonMasked(bus, true,
                           "Disable power operation failed: {ERROR}");
}

int FwManager::enablePowerOp()
{
    return setButtonMasked(bus, false,
                           "Enable power operation failed: {ERROR}");
}

} // namespace phosphor::software::updater
