#include "../looks.hpp"
#include "../scenarios.hpp"
#include "update_steps.hpp"

namespace demo
{

namespace
{

std::string unknownService(const std::string& what)
{
    return "error: " + what +
           " failed: sd_bus_call: org.freedesktop.DBus.Error.ServiceUnknown: "
           "The name xyz.openbmc_project.Software.BMC.Updater was not provided "
           "by any .service files";
}

Step progressBegins()
{
    return {
        .title = "The progress is published, so far",
        .request = "progress Host bios_active 0 40",
        .answer = {"progress: 40", "done: 0"},
        .calls = progressCalls({"0", "10", "20", "30", "40"}),
        .checks = {property(biosActive, "Progress", "y 40")},
    };
}

Step updaterGoes()
{
    return {
        .title = "The updater ends, and the progress cannot be published",
        .before = [](Stage& stage) { stage.endUpdater(); },
        .request = "progress Host bios_active 50 100",
        .answer = {"done: -1"},
        .log = {unknownService("Set bios_active progress")},
    };
}

Step publishFails()
{
    return {
        .title = "Nor can the version, and the release file is not touched",
        .request = "publish Host bios_active 1.02.03 2024-05-06 FenBIOS-LTS",
        .answer = {"version: -1", "release date: -1", "name: -1", "done: -1"},
        .log = {unknownService("Set bios_active version"),
                unknownService("Set bios_active release date"),
                unknownService("Set bios_active name")},
        .checks = {file("/etc/bios-release", formerRelease)},
    };
}

Step verifyFails()
{
    return {
        .title = "What runs is unknown, and the backup stays as it is",
        .request = "verify Host bios_active",
        .answer = {"done: -1"},
        .log = {unknownService("Get bios_active version")},
        .checks = {file("/usr/share/firmware/backup/Host/verified/version",
                        "1.02.02")},
    };
}

Step failureKept()
{
    return {
        .title = "The service keeps that the update has failed",
        .request = "state Host Failed",
        .answer = {"done: 0"},
        .files = {"changed /usr/share/firmware/version.json"},
        .log = {"info: Host: Save update state to Failed"},
    };
}

Step recordsRead()
{
    return {
        .title = "The records are intact",
        .request = "records Host",
        .answer = {"check result: yes", "update state: Failed", "done: 0"},
        .checks = {stateFile(R"({"Host":{"check_result":"yes",)"
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
                  checkPasses(), stateKept(), optionsPublished(),
                  optionRequested(), mask(), progressBegins(), updaterGoes(),
                  publishFails(), verifyFails(), failureKept(), recordsRead(),
                  unmask()},
    };
}

} // namespace demo
