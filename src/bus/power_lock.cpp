#include "call.hpp"

#include <libfenmarch.hpp>
#include <phosphor-logging/lg2.hpp>

#include <source_location>

namespace phosphor::software::updater
{

using namespace fenmarch;

namespace
{

/** @param operation  where the record of a failure says that it comes from */
int setButtonMasked(
    sdbusplus::bus_t& bus, bool masked, const char* failure,
    const std::source_location& operation = std::source_location::current())
{
    // The buttons are served under the name of the host state, not under one
    // of the chassis.
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
