// SPDX-License-Identifier: Apache-2.0
#include "../looks.hpp"
#include "../scenarios.hpp"
#include "update_steps.hpp"

namespace demo
{

namespace
{

Step updaterGoes()
{
    return {
        .title = "The updater ends when it is to publish the new version",
        .before =
            [](Stage& stage) {
                stage.updater->answer(biosActive, "Version",
                                      support::Answer::dropConnection());
            },
        .request = updateHost,
        .answer = {failure("the version is not published")},
        .files = {"new /usr/share/firmware/backup/Host/verifying/firmware.tar",
                  "new /usr/share/firmware/backup/Host/verifying/version",
                  "removed /usr/share/firmware/images/bios/firmware.tar",
                  "changed /usr/share/firmware/version.json"},
        .calls = progressCalls() +
                 std::vector<std::string>{
                     "~Software.BMC.Updater ~/software/bios_active Set "
                     "~Software.Version Version s \"1.02.03\"",
                     optionCall} +
                 maskCalls(),
        .log = {"info: Host: Save update state to Updating",
                "error: Set bios_active version failed: sd_bus_call: "
                "org.freedesktop.DBus.Error.NoReply: "
                "Message recipient disconnected from message bus without "
                "replying",
                "info: Host: Save update state to Failed"},
        .checks = {property(powerButton, "ButtonMasked", "b false"),
                   file("/etc/bios-release", formerRelease)},
    };
}

Step verifyFails()
{
    return {
        .title = "What runs is unknown, and the backup stays as it is",
        .before = [](Stage& stage) { stage.endUpdater(); },
        .request = "Verify Host",
        .answer = {failure("the version that runs is not known")},
        .log = {"error: Get bios_active version failed: sd_bus_call: "
                "org.freedesktop.DBus.Error.ServiceUnknown: "
                "The name xyz.openbmc_project.Software.BMC.Updater was not "
                "provided by any .service files"},
    };
}

Step recordsRead()
{
    return {
        .title = "The records are intact",
        .request = "Show Host",
        .answer = {"State: s \"Failed\"", "Verifying: s \"1.02.03\"",
                   "Verified: s \"1.02.02\""},
        .checks = {stateFile(R"({"Host":{"check_result":"yes",)"
                             R"("update_option":"",)"
                             R"("update_state":"Failed"}})")},
    };
}

} // namespace

Scenario updaterGone()
{
    return {
        .name = "updater-gone",
        .title = "The same update with an updater that ends in the middle",
        .steps = {serviceStarts(), formerBiosRuns(), imageArrives(),
                  checkPasses(), updaterGoes(), verifyFails(), recordsRead()},
    };
}

} // namespace demo
