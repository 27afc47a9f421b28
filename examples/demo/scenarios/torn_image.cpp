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
        .files = {"new /usr/share/firmware/images/bios/firmware.tar"},
        .checks = {noRecord("Host", "check_result")},
    };
}

Step checkFails()
{
    return {
        .title = "The image is checked, and the result kept",
        .request = "check Host /usr/share/firmware/images/bios",
        .answer = {"progress: 99", "image is whole: no", "done: 0"},
        .files = {"new /run/lock/firmware/version.lock",
                  "new /usr/share/firmware/version.json"},
        .log = {"info: Host: Save image check result to no"},
        .checks = {stateFile(R"({"Host":{"check_result":"no"}})")},
    };
}

Step failureReadBack()
{
    return {
        .title = "The failure is read back",
        .request = "records Host",
        .answer = {"check result: no", "update state: (empty)", "done: 0"},
    };
}

Step refused(const std::string& what, const std::string& request)
{
    return {
        .title = "The service stops here: no " + what,
        .request = request,
        .answer = {"error: no image has passed the check", "done: -1"},
    };
}

Step allAsBefore()
{
    return {
        .title = "The BIOS, its backup and the power button are as before",
        .request = "slots Host",
        .answer = {"backup area: /usr/share/firmware/backup",
                   "to be verified: (empty)", "verified: 1.02.02",
                   "verified in: /usr/share/firmware/backup/Host/verified",
                   "done: 0"},
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
                  checkFails(), failureReadBack(),
                  refused("progress", "progress Host bios_active 0 100"),
                  refused(
                      "backup",
                      "backup Host /usr/share/firmware/images/bios 1.02.03"),
                  refused("new version",
                          "publish Host bios_active 1.02.03 2024-05-06 Fen"),
                  allAsBefore()},
    };
}

} // namespace demo
