#include "call.hpp"

#include <libfenmarch.hpp>
#include <phosphor-logging/lg2.hpp>

namespace phosphor::software::updater
{

namespace
{

int setButtonMasked(sdbusplus::bus_t& bus, bool masked, const char* failure)
{
    // The buttons are served under the name of the host state, not under one
    // of the chassis.
    return setDbusProperty(
        bus, {services::hostState, objects::powerButton, interfaces::buttons},
        "ButtonMasked", masked,
        [&](const auto& error) { lg2::error(failure, "ERROR", error); });
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
