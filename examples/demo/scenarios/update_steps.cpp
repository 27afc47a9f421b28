// SPDX-License-Identifier: Apache-2.0
#include "update_steps.hpp"

#include "../image.hpp"
#include "../looks.hpp"
#include "support/files.hpp"

namespace demo
{

namespace
{

void installFormerBios(Stage& stage)
{
    const std::filesystem::path slot =
        "/usr/share/firmware/backup/Host/verified";
    support::writeFile(slot / "firmware.tar", "the image of 1.02.02\n");
    support::writeFile(slot / "version", "1.02.02");
    support::writeFile("/etc/bios-release", formerRelease);
    stage.updater->setProperty(biosActive, "Version", "s", "1.02.02");
}

} // namespace

Step serviceStarts()
{
    return {
        .title = "The service makes its managers and publishes their options",
        .calls = {"~Settings ~/software/update_option/BIOS Set "
                  "~Software.UpdateOption AvailableOptions "
                  "as 3 \"keep_settings\" \"reset_settings\" \"reset_nvram\"",
                  "~Settings ~/software/update_option/BIOS Set "
                  "~Software.UpdateOption RequestedOption s \"\"",
                  "~Settings ~/software/update_option/BMC Set "
                  "~Software.UpdateOption AvailableOptions "
                  "as 2 \"keep_settings\" \"reset_settings\"",
                  "~Settings ~/software/update_option/BMC Set "
                  "~Software.UpdateOption RequestedOption s \"\""},
        .log = {"error: Failed get version purpose from name CPLD!"},
    };
}

Step formerBiosRuns()
{
    return {
        .title = "The BIOS 1.02.02 runs, and its image is in the backup area",
        .before = installFormerBios,
        .request = "Show Host",
        .answer = {"State: s \"\"", "Verifying: s \"\"",
                   "Verified: s \"1.02.02\""},
        .files = {"new /etc/bios-release",
                  "new /usr/share/firmware/backup/Host/verified/firmware.tar",
                  "new /usr/share/firmware/backup/Host/verified/version"},
        .checks = {property(biosActive, "Version", "s \"1.02.02\"")},
    };
}

Step imageArrives()
{
    return {
        .title = "An image of the BIOS 1.02.03 arrives",
        .before =
            [](Stage&) { deliverImage("/usr/share/firmware/images/bios"); },
        .files = {"new /usr/share/firmware/images/bios/firmware.tar",
                  "new /usr/share/firmware/images/bios/release"},
        .checks = {noRecord("Host", "check_result")},
    };
}

Step checkPasses()
{
    return {
        .title = "The image is checked, and the result kept",
        .request = "Check Host /usr/share/firmware/images/bios",
        .answer = {"true"},
        .files = {"new /run/lock/firmware/version.lock",
                  "new /usr/share/firmware/version.json"},
        .log = {"info: Host: Save image check result to yes"},
        .checks = {record("Host", "check_result", "yes")},
    };
}

std::vector<std::string> maskCalls()
{
    const std::string masks = "~State.Host ~/chassis/buttons/power Set "
                              "~Chassis.Buttons ButtonMasked b ";
    return {masks + "true", masks + "false"};
}

std::vector<std::string> progressCalls()
{
    std::vector<std::string> calls;
    for (int percent = 0; percent <= 100; percent += 10)
    {
        calls.push_back("~Software.BMC.Updater ~/software/bios_active Set "
                        "~Software.ActivationProgress Progress y " +
                        std::to_string(percent));
    }
    return calls;
}

std::vector<std::string> operator+(std::vector<std::string> first,
                                   const std::vector<std::string>& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

std::string failure(const std::string& reason)
{
    return "com.example.FirmwareUpdate.Failed: " + reason;
}

} // namespace demo
