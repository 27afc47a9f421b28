// SPDX-License-Identifier: Apache-2.0
#include "../image.hpp"
#include "../looks.hpp"
#include "../scenarios.hpp"
#include "update_steps.hpp"

namespace demo
{

namespace
{

Step tornImageArrives()
{
    return {
        .title = "An image of the BIOS arrives, of which the end is missing",
        .before =
            [](Stage&) {
                deliverTornImage("/usr/share/firmware/images/bios", 2000000);
            },
        .files = {"new /usr/share/firmware/images/bios/firmware.tar",
                  "new /usr/share/firmware/images/bios/release"},
        .checks = {noRecord("Host", "check_result")},
    };
}

Step checkFails()
{
    return {
        .title = "The image is checked, and the result kept",
        .request = "Check Host /usr/share/firmware/images/bios",
        .answer = {"false"},
        .files = {"new /run/lock/firmware/version.lock",
                  "new /usr/share/firmware/version.json"},
        .log = {"info: Host: Save image check result to no"},
        .checks = {stateFile(R"({"Host":{"check_result":"no"}})")},
    };
}

Step refused()
{
    return {
        .title = "The service refuses the update",
        .request = updateHost,
        .answer = {failure("no image has passed the check")},
    };
}

Step allAsBefore()
{
    return {
        .title = "The BIOS, its backup and the power button are as before",
        .request = "Show Host",
        .answer = {"State: s \"\"", "Verifying: s \"\"",
                   "Verified: s \"1.02.02\""},
        .checks = {file("/etc/bios-release", formerRelease),
                   file("/usr/share/firmware/backup/Host/verified/firmware.tar",
                        "the image of 1.02.02\n"),
                   noFile("/usr/share/firmware/backup/Host/verifying/version"),
                   property(biosActive, "Version", "s \"1.02.02\""),
                   property(biosActive, "Progress", "none"),
                   property(powerButton, "ButtonMasked", "b false")},
    };
}

} // namespace

Scenario tornImage()
{
    return {
        .name = "torn-image",
        .title = "The same update with an image that is torn",
        .steps = {serviceStarts(), formerBiosRuns(), tornImageArrives(),
                  checkFails(), refused(), allAsBefore()},
    };
}

} // namespace demo
