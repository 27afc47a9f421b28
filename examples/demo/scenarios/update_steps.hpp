// SPDX-License-Identifier: Apache-2.0

/** The steps that an update has in more than one scenario. */
#pragma once

#include "../scenario.hpp"

namespace demo
{

inline constexpr auto powerButton =
    "/xyz/openbmc_project/chassis/buttons/power";
inline constexpr auto biosActive = "/xyz/openbmc_project/software/bios_active";

/** The release file of the BIOS before the update. */
inline constexpr auto formerRelease = "BUILD_DATE=\"2024-02-14\"\n"
                                      "NAME=\"FenBIOS\"\n"
                                      "VERSION_ID=\"1.02.02\"\n";

/** The first step of a scenario: the service makes its managers. */
Step serviceStarts();

/** Version 1.02.02 is published, in the release file, and in its slot. */
Step formerBiosRuns();

Step imageArrives();
Step checkPasses();

inline constexpr auto updateHost =
    "Update Host /usr/share/firmware/images/bios";

/** The call that reads the requested option. */
inline constexpr auto optionCall =
    "~Settings ~/software/update_option/BIOS Get ~Software.UpdateOption "
    "RequestedOption";

/** The calls that mask the power button and unmask it again. */
std::vector<std::string> maskCalls();

/** The calls that publish the progress from 0 to 100 on bios_active. */
std::vector<std::string> progressCalls();

std::vector<std::string> operator+(std::vector<std::string> first,
                                   const std::vector<std::string>& second);

/** The error of a call that the service could not carry out. */
std::string failure(const std::string& reason);

} // namespace demo
