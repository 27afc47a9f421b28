// SPDX-License-Identifier: Apache-2.0
#include "../looks.hpp"
#include "../scenarios.hpp"
#include "update_steps.hpp"

namespace demo
{

namespace
{

Step updateFails()
{
    return {
        .title = "The area is not mounted, and the update ends before it began",
        .request = updateHost,
        .answer = {failure("there is no backup area")},
        .files = {"changed /usr/share/firmware/version.json"},
        .calls = std::vector<std::string>{optionCall} + maskCalls(),
        .log = {"info: Host: Save update state to Updating",
                "info: Host: Save update state to Failed"},
        .checks = {property(powerButton, "ButtonMasked", "b false"),
                   property(biosActive, "Progress", "none"),
                   record("Host", "update_state", "Failed")},
    };
}

} // namespace

Scenario noBackupArea()
{
    return {
        .name = "no-backup-area",
        .title = "An update without the place for a backup",
        .steps = {serviceStarts(), imageArrives(), checkPasses(),
                  updateFails()},
    };
}

} // namespace demo
