#include "requests.hpp"

#include "answer.hpp"
#include "tar_image.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <stdexcept>
#include <string>

namespace
{

using phosphor::software::updater::FwManager;

int showConfig(FwManager& firmware, const Words&)
{
    say("configured", firmware.isConfig());
    if (!firmware.isConfig())
    {
        return 0;
    }
    say("updateable", firmware.getUpdateable());
    say("work_mode", firmware.getWorkMode());
    say("image_list", firmware.getImageList());
    say("image_backup_mount", firmware.getImageBackupMount());
    say("image_backup_path", firmware.getBackupImagePath());
    say("options", firmware.getOptions());
    say("apply_time_options", firmware.getApplyTimeOptions());
    say("get_version_proc", firmware.getProcGetVersion());
    say("image_check_proc", firmware.getProcImageCheck());
    say("update_proc", firmware.getProcUpdate());
    say("active_proc", firmware.getProcActive());
    say("power_up_proc", firmware.getProcPowerUp());
    say("power_down_proc", firmware.getProcPowerDown());
    return 0;
}

int publishOptions(FwManager& firmware, const Words&)
{
    return firmware.initUpdateOption(firmware.getOptions());
}

int showOption(FwManager& firmware, const Words&)
{
    say("requested option", firmware.readOption());
    return 0;
}

int mask(FwManager& firmware, const Words&)
{
    return firmware.disablePowerOp();
}

int unmask(FwManager& firmware, const Words&)
{
    return firmware.enablePowerOp();
}

/** The status says whether the result is kept, whatever it is. */
int checkImage(FwManager& firmware, const Words& arguments)
{
    const bool whole =
        isWholeTar(arguments.at(0) + "/firmware.tar",
                   [](int percent) { say("progress", percent); });
    say("image is whole", whole);
    return firmware.saveImageCheckResult(whole);
}

int saveState(FwManager& firmware, const Words& arguments)
{
    return firmware.saveUpdateState(arguments.at(0));
}

int showRecords(FwManager& firmware, const Words&)
{
    say("check result", firmware.readImageCheckResult());
    say("update state", firmware.readUpdateState());
    return 0;
}

void requireWholeImage(FwManager& firmware)
{
    if (!firmware.readImageCheckResult())
    {
        throw std::runtime_error("no image has passed the check");
    }
}

int publishProgress(FwManager& firmware, const Words& arguments)
{
    constexpr int stepPercent = 10;
    requireWholeImage(firmware);
    const int last = std::stoi(arguments.at(2));
    for (int percent = std::stoi(arguments.at(1)); percent <= last;
         percent += stepPercent)
    {
        const int status = firmware.setBmcUpdateProgress(
            arguments.at(0), static_cast<std::uint8_t>(percent), "");
        if (status != 0)
        {
            return status;
        }
        say("progress", percent);
    }
    return 0;
}

int showSlots(FwManager& firmware, const Words&)
{
    std::string verifying;
    std::string verified;
    firmware.getBackupImageVersion(verifying, verified);
    say("backup area", firmware.getBackupImagePath());
    say("to be verified", verifying);
    say("verified", verified);
    say("verified in", firmware.getVerifiedBackupImagePath());
    return 0;
}

/** A backup gives no status: the slots tell what became of it. */
int backUp(FwManager& firmware, const Words& arguments)
{
    requireWholeImage(firmware);
    firmware.backupImage(arguments.at(0), arguments.at(1));
    return showSlots(firmware, {});
}

int publishVersion(FwManager& firmware, const Words& arguments)
{
    requireWholeImage(firmware);
    const std::string& object = arguments.at(0);
    const int version = firmware.setBmcVersion(object, arguments.at(1));
    const int date = firmware.setBmcReleaseDate(object, arguments.at(2));
    const int title = firmware.setBmcName(object, arguments.at(3));
    say("version", version);
    say("release date", date);
    say("name", title);
    return version | date | title;
}

int addToHistory(FwManager& firmware, const Words& arguments)
{
    const std::string& activation = arguments.at(0);
    const int next = firmware.getVersionCount(activation);
    int status = firmware.saveVersion(activation, next, arguments.at(1));
    status |= firmware.saveVersionCount(activation, next + 1);
    for (int i = 0; i < firmware.getVersionCount(activation); ++i)
    {
        say(activation, firmware.getVersion(activation, i));
    }
    return status;
}

int forgetHistory(FwManager& firmware, const Words& arguments)
{
    constexpr int all = 65535;
    return firmware.deleteVersion(arguments.at(0), all);
}

int verifyBackup(FwManager& firmware, const Words& arguments)
{
    std::string running;
    if (firmware.getBmcVersion(arguments.at(0), running) != 0)
    {
        return -1;
    }
    firmware.verifyBackupImage(running);
    return showSlots(firmware, {});
}

constexpr std::array requests{
    Request{"config", showConfig},
    Request{"options", publishOptions},
    Request{"option", showOption},
    Request{"mask", mask},
    Request{"unmask", unmask},
    Request{"check", checkImage},
    Request{"state", saveState},
    Request{"records", showRecords},
    Request{"progress", publishProgress},
    Request{"backup", backUp},
    Request{"publish", publishVersion},
    Request{"history", addToHistory},
    Request{"forget", forgetHistory},
    Request{"verify", verifyBackup},
    Request{"slots", showSlots},
};

} // namespace

const Request* findRequest(std::string_view word)
{
    const auto* const found = std::ranges::find(requests, word, &Request::word);
    return found == requests.end() ? nullptr : found;
}
