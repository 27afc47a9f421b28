// SPDX-License-Identifier: Apache-2.0
#include "../looks.hpp"
#include "../scenarios.hpp"
#include "update_steps.hpp"

namespace demo
{

namespace
{

Step optionRequested()
{
    return {
        .title = "One of the options is requested by a user",
        .before =
            [](Stage& stage) {
                stage.others.setProperty(
                    "/xyz/openbmc_project/software/update_option/BIOS",
                    "RequestedOption", "s", "reset_nvram");
            },
    };
}

Step update()
{
    return {
        .title = "The update: masked, backed up, published, kept, unmasked",
        .request = updateHost,
        .answer = {"done"},
        .files = {"changed /etc/bios-release",
                  "new /usr/share/firmware/backup/Host/verifying/firmware.tar",
                  "new /usr/share/firmware/backup/Host/verifying/version",
                  "removed /usr/share/firmware/images/bios/firmware.tar",
                  "changed /usr/share/firmware/version.json"},
        .calls = progressCalls() +
                 std::vector<std::string>{
                     "~Software.BMC.Updater ~/software/bios_active Set "
                     "~Software.Version Version s \"1.02.03\"",
                     "~Software.BMC.Updater ~/software/bios_active Set "
                     "~Software.Version ReleaseDate s \"2024-05-06\"",
                     "~Software.BMC.Updater ~/software/bios_active Set "
                     "~Software.Version Subname s \"FenBIOS-LTS\"",
                     optionCall} +
                 maskCalls(),
        .log = {"info: Host: Save update state to Updating",
                "info: Host: Save Staged version_0 1.02.03",
                "info: Host: Save Staged version count to 1",
                "info: Host: Save update state to Updated"},
        .checks = {property(biosActive, "Progress", "y 100"),
                   property(powerButton, "ButtonMasked", "b false"),
                   imageMoved("images/bios", "backup/Host/verifying"),
                   file("/etc/bios-release", "BUILD_DATE=\"2024-05-06\"\n"
                                             "NAME=\"FenBIOS-LTS\"\n"
                                             "VERSION_ID=\"1.02.03\"\n"),
                   stateFile(R"({"Host":{"check_result":"yes",)"
                             R"("update_option":"reset_nvram",)"
                             R"("update_state":"Updated","Staged_0":"1.02.03",)"
                             R"("Staged_count":"1"}})")},
    };
}

Step shown()
{
    return {
        .title = "The new version is to be verified",
        .request = "Show Host",
        .answer = {"State: s \"Updated\"", "Verifying: s \"1.02.03\"",
                   "Verified: s \"1.02.02\""},
    };
}

Step otherFirmware()
{
    return {
        .title = "The BMC has records of its own",
        .request = "Show BMC",
        .answer = {"State: s \"\"", "Verifying: s \"\"", "Verified: s \"\""},
    };
}

Step verify()
{
    return {
        .title = "The new version runs: its backup is verified",
        .request = "Verify Host",
        .answer = {"done"},
        .files =
            {"changed /usr/share/firmware/backup/Host/verified/firmware.tar",
             "changed /usr/share/firmware/backup/Host/verified/version",
             "removed /usr/share/firmware/backup/Host/verifying/firmware.tar",
             "removed /usr/share/firmware/backup/Host/verifying/version",
             "changed /usr/share/firmware/version.json"},
        .calls = {"~Software.BMC.Updater ~/software/bios_active Get "
                  "~Software.Version Version",
                  "~Software.BMC.Updater ~/software/bios_staged "
                  "~Object.Delete.Delete()"},
        .log = {"info: Host: Verify backup firmware: 1.02.03 vs 1.02.03",
                "info: Host: Save Active version_0 1.02.03",
                "info: Host: Save Active version count to 1",
                "info: Host: Delete Staged all version"},
        .checks = {imageMoved("backup/Host/verifying", "backup/Host/verified"),
                   record("Host", "Active_0", "1.02.03"),
                   noRecord("Host", "Staged_0")},
    };
}

} // namespace

Scenario wholeUpdate()
{
    return {
        .name = "whole-update",
        .title = "A whole update",
        .steps = {serviceStarts(), formerBiosRuns(), optionRequested(),
                  imageArrives(), checkPasses(), update(), shown(),
                  otherFirmware(), verify()},
    };
}

} // namespace demo
