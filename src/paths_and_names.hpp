// SPDX-License-Identifier: Apache-2.0

/**
 * Every fixed path, record key and bus name that the library uses.
 */
#pragma once

namespace fenmarch
{

namespace paths
{

inline constexpr auto configFile = "/etc/default/firmware/config.json";
inline constexpr auto stateFile = "/usr/share/firmware/version.json";
inline constexpr auto stateLock = "/run/lock/firmware/version.lock";
inline constexpr auto biosRelease = "/etc/bios-release";

} // namespace paths

/** Keys in the firmware's section of the state file. */
namespace records
{

inline constexpr auto checkResult = "check_result";
inline constexpr auto updateState = "update_state";
/** Follows the name of an activation in the key of its history's length. */
inline constexpr auto countSuffix = "_count";

} // namespace records

namespace services
{

inline constexpr auto bmcUpdater = "xyz.openbmc_project.Software.BMC.Updater";
inline constexpr auto firmwareUpdater = "xyz.openbmc_project.Firmware.Updater";
inline constexpr auto settings = "xyz.openbmc_project.Settings";
inline constexpr auto hostState = "xyz.openbmc_project.State.Host";

} // namespace services

namespace objects
{

inline constexpr auto softwarePrefix = "/xyz/openbmc_project/software/";
/** Follows the prefix in the object that the BIOS release file describes. */
inline constexpr auto biosActiveName = "bios_active";
inline constexpr auto biosStaged = "/xyz/openbmc_project/software/bios_staged";
inline constexpr auto updateOptionPrefix =
    "/xyz/openbmc_project/software/update_option/";
inline constexpr auto powerButton =
    "/xyz/openbmc_project/chassis/buttons/power";

} // namespace objects

namespace interfaces
{

inline constexpr auto properties = "org.freedesktop.DBus.Properties";
inline constexpr auto objectDelete = "xyz.openbmc_project.Object.Delete";
inline constexpr auto version = "xyz.openbmc_project.Software.Version";
inline constexpr auto activationProgress =
    "xyz.openbmc_project.Software.ActivationProgress";
inline constexpr auto updateOption =
    "xyz.openbmc_project.Software.UpdateOption";
inline constexpr auto buttons = "xyz.openbmc_project.Chassis.Buttons";

} // namespace interfaces

} // namespace fenmarch
