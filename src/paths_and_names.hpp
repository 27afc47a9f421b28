/**
 * Every fixed path, record key and bus name that the library uses.
 */
#pragma once

namespace phosphor::software::updater
{

namespace paths
{

inline constexpr auto configFile = "/etc/default/firmware/config.json";
inline constexpr auto stateFile = "/usr/share/firmware/version.json";
inline constexpr auto stateLock = "/run/lock/firmware/version.lock";

} // namespace paths

namespace records
{

inline constexpr auto checkResult = "check_result";
inline constexpr auto updateState = "update_state";

} // namespace records

namespace services
{

inline constexpr auto hostState = "xyz.openbmc_project.State.Host";

} // namespace services

namespace objects
{

inline constexpr auto powerButton =
    "/xyz/openbmc_project/chassis/buttons/power";

} // namespace objects

namespace interfaces
{

inline constexpr auto properties = "org.freedesktop.DBus.Properties";
inline constexpr auto buttons = "xyz.openbmc_project.Chassis.Buttons";

} // namespace interfaces

} // namespace phosphor::software::updater
