// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <string_view>

namespace support
{

/** The only places where the library and its tests write. */
inline constexpr std::array<std::string_view, 6> fixedPaths{
    "/etc/bios-release",           "/etc/default/firmware",
    "/usr/share/firmware",         "/run/lock/firmware",
    "/run/systemd/journal/socket", "/run/dbus/system_bus_socket",
};

} // namespace support
