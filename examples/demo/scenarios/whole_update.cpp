#include "../looks.hpp"
#include "../scenarios.hpp"
#include "update_steps.hpp"

namespace demo
{

namespace
{

Step readBack()
{
    return {
        .title = "Both records are read back",
        .request = "records Host",
        .answer = {"check result: yes", "update state: Updating", "done: 0"},
        .checks = {stateFile(R"({"Host":{"check_result":"yes",)"
                             R"("update_state":"Updating"}})")},
    };
}

Step otherFirmware()
{
    return {
        .title = "The BMC keeps a state of its own",
        .request = "state BMC Idle",
        .answer = {"done: 0"},
        .files = {"changed /usr/share/firmware/version.json"},
        .log = {"info: BMC: Save update state to Idle"},
        .checks = {record("BMC", "update_state", "Idle"),
                   record("Host", "update_state", "Updating"),
                   noRecord("BMC", "check_result")},
    };
}

Step progress()
{
    return {
        .title = "The progress is published",
        .request = "progress Host bios_active 0 100",
        .answer = {"progress: 100", "done: 0"},
        .calls = progressCalls(
            {"0", "10", "20", "30", "40", "50", "60", "70", "80", "90", "100"}),
        .checks = {property(biosActive, "Progress", "y 100")},
    };
}

Step backUp()
{
    return {
        .title = "The image is moved into the backup area, to be verified",
        .request = "backup Host /usr/share/firmware/images/bios 1.02.03",
        .answer = {"backup area: /usr/share/firmware/backup",
                   "to be verified: 1.02.03", "verified: 1.02.02",
                   "verified in: /usr/share/firmware/backup/Host/verified",
                   "done: 0"},
        .files = {"new /usr/share/firmware/backup/Host/verifying/firmware.tar",
                  "new /usr/share/firmware/backup/Host/verifying/version",
                  "removed /usr/share/firmware/images/bios/firmware.tar"},
        .checks = {imageMoved("images/bios", "backup/Host/verifying"),
                   file("/usr/share/firmware/backup/Host/verifying/version",
                        "1.02.03")},
    };
}

Step publish()
{
    return {
        .title = "The new BIOS is published, with the release file in step",
        .request = "publish Host bios_active 1.02.03 2024-05-06 FenBIOS-LTS",
        .answer = {"version: 0", "release date: 0", "name: 0", "done: 0"},
        .files = {"changed /etc/bios-release"},
        .calls = {"~Software.BMC.Updater ~/software/bios_active Set "
                  "~Software.Version Version s \"1.02.03\"",
                  "~Software.BMC.Updater ~/software/bios_active Set "
                  "~Software.Version ReleaseDate s \"2024-05-06\"",
                  "~Software.BMC.Updater ~/software/bios_active Set "
                  "~Software.Version Subname s \"FenBIOS-LTS\""},
        .checks = {file("/etc/bios-release", "BUILD_DATE=\"2024-05-06\"\n"
                                             "NAME=\"FenBIOS-LTS\"\n"
                                             "VERSION_ID=\"1.02.03\"\n")},
    };
}

Step stagedKept()
{
    return {
        .title = "The new version is added to the history of Staged",
        .request = "history Host Staged 1.02.03",
        .answer = {"Staged: 1.02.03", "done: 0"},
        .files = {"changed /usr/share/firmware/version.json"},
        .log = {"info: Host: Save Staged version_0 1.02.03",
                "info: Host: Save Staged version count to 1"},
        .checks = {record("Host", "Staged_0", "1.02.03"),
                   record("Host", "Staged_count", "1")},
    };
}

Step activeKept()
{
    return {
        .title = "And to the history of Active",
        .request = "history Host Active 1.02.03",
        .answer = {"Active: 1.02.03", "done: 0"},
        .files = {"changed /usr/share/firmware/version.json"},
        .log = {"info: Host: Save Active version_0 1.02.03",
                "info: Host: Save Active version count to 1"},
        .checks = {record("Host", "Active_0", "1.02.03"),
                   record("Host", "Active_count", "1")},
    };
}

Step verify()
{
    return {
        .title = "The new version runs: its backup is verified",
        .request = "verify Host bios_active",
        .answer = {"backup area: /usr/share/firmware/backup",
                   "to be verified: (empty)", "verified: 1.02.03",
                   "verified in: /usr/share/firmware/backup/Host/verified",
                   "done: 0"},
        .files =
            {"changed /usr/share/firmware/backup/Host/verified/firmware.tar",
             "changed /usr/share/firmware/backup/Host/verified/version",
             "removed /usr/share/firmware/backup/Host/verifying/firmware.tar",
             "removed /usr/share/firmware/backup/Host/verifying/version"},
        .calls = {"~Software.BMC.Updater ~/software/bios_active Get "
                  "~Software.Version Version"},
        .log = {"info: Host: Verify backup firmware: 1.02.03 vs 1.02.03"},
        .checks = {imageMoved("backup/Host/verifying", "backup/Host/verified")},
    };
}

Step stagedForgotten()
{
    return {
        .title = "The history of Staged is deleted, and the staged BIOS",
        .request = "forget Host Staged",
        .answer = {"done: 0"},
        .files = {"changed /usr/share/firmware/version.json"},
        .calls = {"~Software.BMC.Updater ~/software/bios_staged "
                  "~Object.Delete.Delete()"},
        .log = {"info: Host: Delete Staged all version"},
        .checks = {stateFile(
            R"({"Host":{"check_result":"yes","update_state":"Updating",)"
            R"("Active_0":"1.02.03","Active_count":"1"},)"
            R"("BMC":{"update_state":"Idle"}})")},
    };
}

Step updated()
{
    return {
        .title = "The update is over",
        .request = "state Host Updated",
        .answer = {"done: 0"},
        .files = {"changed /usr/share/firmware/version.json"},
        .log = {"info: Host: Save update state to Updated"},
        .checks = {record("Host", "update_state", "Updated")},
    };
}

} // namespace

Scenario wholeUpdate()
{
    return {
        .name = "whole-update",
        .title = "A whole update",
        .steps = {serviceStarts(), formerBiosRuns(), imageArrives(),
                  checkPasses(), stateKept(), readBack(), otherFirmware(),
                  optionsPublished(), optionRequested(), mask(), progress(),
                  backUp(), publish(), stagedKept(), activeKept(), verify(),
                  stagedForgotten(), unmask(), updated()},
    };
}

} // namespace demo
