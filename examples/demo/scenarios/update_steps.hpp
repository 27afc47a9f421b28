/** The steps that an update has in more than one scenario. */
#pragma once

#include "../scenario.hpp"

namespace demo
{

inline constexpr auto powerButton =
    "/xyz/openbmc_project/chassis/buttons/power";
inline constexpr auto biosActive = "/xyz/openbmc_project/software/bios_active";

/** The release file of the BIOS that runs before the update. */
inline constexpr auto formerRelease = "BUILD_DATE=\"2024-02-14\"\n"
                                      "NAME=\"FenBIOS\"\n"
                                      "VERSION_ID=\"1.02.02\"\n";

/** What a scenario begins with: the service makes its managers. */
Step serviceStarts();

/** Version 1.02.02 is published, in the release file, and in its slot. */
Step formerBiosRuns();

Step optionsPublished();
Step optionRequested();
Step imageArrives();
Step checkPasses();
Step stateKept();
Step mask();
Step unmask();

/** The calls that publish these percentages on bios_active. */
std::vector<std::string>
progressCalls(const std::vector<std::string>& percentages);

} // namespace demo
