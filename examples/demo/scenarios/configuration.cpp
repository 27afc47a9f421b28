#include "../scenarios.hpp"
#include "update_steps.hpp"

#include <filesystem>

namespace demo
{

namespace
{

constexpr auto backupMount =
    "image_backup_mount: /usr/share/firmware, /usr/share/firmware/backup";
constexpr auto bmcImages =
    "image_list: image-kernel, image-rofs, image-rwfs, image-u-boot";

constexpr auto backupArea = "/usr/share/firmware/backup";

Step configurationOfBios()
{
    return {
        .title = "What is configured for the BIOS, which is named Host",
        .before =
            [](Stage&) { std::filesystem::create_directories(backupArea); },
        .request = "config Host",
        .answer =
            {
                "configured: yes",
                "updateable: yes",
                "work_mode: offline",
                "image_list: bios.bin, bios.sig",
                backupMount,
                "image_backup_path: /usr/share/firmware/backup",
                "options: keep_settings, reset_settings, reset_nvram",
                "apply_time_options: Immediate, OnReset, OnStartUpdateRequest",
                "get_version_proc: /usr/libexec/firmware/bios version",
                "image_check_proc: /usr/libexec/firmware/bios check",
                "update_proc: /usr/libexec/firmware/bios update",
                "active_proc: /usr/libexec/firmware/bios activate",
                "power_up_proc: /usr/libexec/firmware/host power-up",
                "power_down_proc: /usr/libexec/firmware/host power-down",
                "done: 0",
            },
    };
}

Step configurationOfBmc()
{
    return {
        .title = "What is configured for the BMC",
        .request = "config BMC",
        .answer =
            {
                "configured: yes",
                "updateable: yes",
                "work_mode: online",
                bmcImages,
                backupMount,
                "image_backup_path: /usr/share/firmware/backup",
                "options: keep_settings, reset_settings",
                "apply_time_options: Immediate, OnReset",
                "get_version_proc: /usr/libexec/firmware/bmc version",
                "image_check_proc: /usr/libexec/firmware/bmc check",
                "update_proc: /usr/libexec/firmware/bmc update",
                "active_proc: /usr/libexec/firmware/bmc activate",
                "power_up_proc: /usr/libexec/firmware/host power-up",
                "power_down_proc: /usr/libexec/firmware/host power-down",
                "done: 0",
            },
    };
}

Step configurationOfCpld()
{
    return {
        .title = "The CPLD has no backup, no options, no apply time of its own",
        .request = "config CPLD",
        .answer =
            {
                "configured: yes",
                "updateable: no",
                "work_mode: standby",
                "image_list: cpld.jed",
                "image_backup_mount: (empty)",
                "image_backup_path: (empty)",
                "options: (empty)",
                "apply_time_options: OnStartUpdateRequest",
                "get_version_proc: /usr/libexec/firmware/cpld version",
                "image_check_proc: /usr/libexec/firmware/cpld check",
                "update_proc: /usr/libexec/firmware/cpld update",
                "active_proc: /usr/libexec/firmware/host power-cycle",
                "power_up_proc: /usr/libexec/firmware/host power-up",
                "power_down_proc: /usr/libexec/firmware/host power-down",
                "done: 0",
            },
    };
}

Step noConfiguration()
{
    return {
        .title = "Nothing is configured for the firmware made by default",
        .request = "config Unknown",
        .answer = {"configured: no", "done: 0"},
    };
}

Step noBackupArea()
{
    return {
        .title = "A backup area that is not mounted has no path",
        .before = [](Stage&) { std::filesystem::remove(backupArea); },
        .request = "slots Host",
        .answer = {"backup area: (empty)", "to be verified: (empty)",
                   "verified: (empty)", "verified in: (empty)", "done: 0"},
    };
}

} // namespace

Scenario configuration()
{
    return {
        .name = "configuration",
        .title = "What the service knows",
        .steps = {serviceStarts(), configurationOfBios(), configurationOfBmc(),
                  configurationOfCpld(), noConfiguration(), noBackupArea()},
    };
}

} // namespace demo
