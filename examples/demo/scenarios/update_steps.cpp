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
        .title = "The service makes managers by purpose, by name, by default",
        .request = "managers",
        .answer =
            {
                "Host: purpose Host",
                "BMC: purpose BMC",
                "CPLD: purpose Unknown",
                "Unknown: purpose Unknown",
                "done: 0",
            },
        .log = {"error: Failed get version purpose from name CPLD!"},
    };
}

Step formerBiosRuns()
{
    return {
        .title = "The BIOS 1.02.02 runs, and its image is in the backup area",
        .before = installFormerBios,
        .request = "slots Host",
        .answer = {"backup area: /usr/share/firmware/backup",
                   "to be verified: (empty)", "verified: 1.02.02",
                   "verified in: /usr/share/firmware/backup/Host/verified",
                   "done: 0"},
        .files = {"new /etc/bios-release",
                  "new /usr/share/firmware/backup/Host/verified/firmware.tar",
                  "new /usr/share/firmware/backup/Host/verified/version"},
        .checks = {property(biosActive, "Version", "s \"1.02.02\"")},
    };
}

Step optionsPublished()
{
    return {
        .title = "The options that an update of the BIOS has are published",
        .request = "options Host",
        .answer = {"done: 0"},
        .calls = {"~Settings ~/software/update_option/BIOS Set "
                  "~Software.UpdateOption AvailableOptions "
                  "as 3 \"keep_settings\" \"reset_settings\" \"reset_nvram\"",
                  "~Settings ~/software/update_option/BIOS Set "
                  "~Software.UpdateOption RequestedOption s \"\""},
    };
}

Step optionRequested()
{
    return {
        .title = "One of them is requested by a user, and read",
        .before =
            [](Stage& stage) {
                stage.others.setProperty(
                    "/xyz/openbmc_project/software/update_option/BIOS",
                    "RequestedOption", "s", "reset_nvram");
            },
        .request = "option Host",
        .answer = {"requested option: reset_nvram", "done: 0"},
        .calls = {"~Settings ~/software/update_option/BIOS Get "
                  "~Software.UpdateOption RequestedOption"},
    };
}

Step imageArrives()
{
    return {
        .title = "An image of the BIOS 1.02.03 arrives",
        .before =
            [](Stage&) { deliverImage("/usr/share/firmware/images/bios"); },
        .files = {"new /usr/share/firmware/images/bios/firmware.tar"},
        .checks = {noRecord("Host", "check_result")},
    };
}

Step checkPasses()
{
    return {
        .title = "The image is checked, and the result kept",
        .request = "check Host /usr/share/firmware/images/bios",
        .answer = {"progress: 100", "image is whole: yes", "done: 0"},
        .files = {"new /run/lock/firmware/version.lock",
                  "new /usr/share/firmware/version.json"},
        .log = {"info: Host: Save image check result to yes"},
        .checks = {record("Host", "check_result", "yes")},
    };
}

Step stateKept()
{
    return {
        .title = "The update state is kept",
        .request = "state Host Updating",
        .answer = {"done: 0"},
        .files = {"changed /usr/share/firmware/version.json"},
        .log = {"info: Host: Save update state to Updating"},
        .checks = {record("Host", "check_result", "yes"),
                   record("Host", "update_state", "Updating")},
    };
}

Step mask()
{
    return {
        .title = "The power button is masked",
        .request = "mask Host",
        .answer = {"done: 0"},
        .calls = {"~State.Host ~/chassis/buttons/power Set ~Chassis.Buttons "
                  "ButtonMasked b true"},
        .checks = {property(powerButton, "ButtonMasked", "b true")},
    };
}

Step unmask()
{
    return {
        .title = "The power button is unmasked",
        .request = "unmask Host",
        .answer = {"done: 0"},
        .calls = {"~State.Host ~/chassis/buttons/power Set ~Chassis.Buttons "
                  "ButtonMasked b false"},
        .checks = {property(powerButton, "ButtonMasked", "b false")},
    };
}

std::vector<std::string>
progressCalls(const std::vector<std::string>& percentages)
{
    std::vector<std::string> calls;
    for (const auto& percentage : percentages)
    {
        calls.push_back("~Software.BMC.Updater ~/software/bios_active Set "
                        "~Software.ActivationProgress Progress y " +
                        percentage);
    }
    return calls;
}

} // namespace demo
