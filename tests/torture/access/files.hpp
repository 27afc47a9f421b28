// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <libfenmarch.hpp>

#include <functional>
#include <string>
#include <vector>

namespace torture::access
{

inline constexpr auto stateDirectory = "/usr/share/firmware";
inline constexpr auto stateFile = "/usr/share/firmware/version.json";
inline constexpr auto temporary = "/usr/share/firmware/version.json.tmp";
inline constexpr auto lockDirectory = "/run/lock/firmware";
inline constexpr auto lockFile = "/run/lock/firmware/version.lock";
inline constexpr auto configFile = "/etc/default/firmware/config.json";
inline constexpr auto releaseFile = "/run/release/bios-release";
inline constexpr auto backupRoot = "/run/backup";
inline constexpr auto incoming = "/run/incoming";
inline constexpr auto mounts = "/run/mounts";
/** Files of another user, which no operation may touch: one on each file
 *  system, for hard links. */
inline constexpr auto victimDirectory = "/run/victim";
inline constexpr auto victim = "/run/victim/version";
inline constexpr auto otherVictimDirectory = "/usr/share/victim";
inline constexpr auto otherVictim = "/usr/share/victim/version";

/** Every file that the operations of this experiment could harm. */
std::vector<std::string> everything();

/** Removes all of them. */
void removeEverything();

/** Installs the files as on a machine in use, with /run/lock closed: owned by
 *  root, and readable for everyone except for the lock file. */
void installEverything();

/** Makes a character device that every user may open. */
void makeDevice(const std::string& at);

using Operation =
    std::function<std::string(phosphor::software::updater::FwManager&)>;

/** The operations return their result as text: the status, and what was read
 *  in quotes. */
std::string save(phosphor::software::updater::FwManager& manager);
std::string remove(phosphor::software::updater::FwManager& manager);
std::string read(phosphor::software::updater::FwManager& manager);
std::string readConfiguration(phosphor::software::updater::FwManager& manager);
std::string readRelease(phosphor::software::updater::FwManager& manager);
std::string setRelease(phosphor::software::updater::FwManager& manager);
std::string writeRelease(phosphor::software::updater::FwManager& manager);
/** Returns whether the uploaded image is still there. */
std::string backUp(phosphor::software::updater::FwManager& manager);
std::string promote(phosphor::software::updater::FwManager& manager);
std::string readBackups(phosphor::software::updater::FwManager& manager);

} // namespace torture::access
