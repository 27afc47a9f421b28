// SPDX-License-Identifier: Apache-2.0
#include "update.hpp"

#include "tar_image.hpp"

#include <utility>

using namespace phosphor::software::updater;

namespace
{

constexpr std::uint8_t stepPercent = 10;
constexpr int wholeHistory = 65535;

void addToHistory(FwManager& firmware, const std::string& activation,
                  const std::string& version)
{
    const int next = firmware.getVersionCount(activation);
    require(firmware.saveVersion(activation, next, version) == 0 &&
                firmware.saveVersionCount(activation, next + 1) == 0 &&
                firmware.getVersion(activation, next) == version &&
                firmware.getVersionCount(activation) == next + 1,
            "the history is not kept");
}

} // namespace

Update::Update(FwManager& manager, std::string published,
               std::string directory) :
    firmware(manager),
    object(std::move(published)),
    source(std::move(directory))
{
    require(firmware.readImageCheckResult(), "no image has passed the check");
    bmcReleaseFileRead(source + "/release", release);
    version = release["VERSION_ID"];
    // The version of a slot is read up to the first blank, and is "" if the
    // slot has none.
    require(!version.empty() &&
                version.find_first_of(" \t\n\v\f\r") == std::string::npos,
            "the image has no version of one word");
    require(firmware.saveVersionStringFromInfo("update_option",
                                               firmware.readOption()) == 0,
            "the update option is not kept");
}

bool Update::step()
{
    if (percent == 0)
    {
        mask.emplace(firmware);
        backUp();
    }
    // A real service writes the next part of the image here.
    require(firmware.setBmcUpdateProgress(object, percent, "") == 0,
            "the progress is not published");
    percent += stepPercent;
    if (percent <= 100)
    {
        return false;
    }
    publish();
    addToHistory(firmware, "Staged", version);
    mask.value().outcome = "Updated";
    return true;
}

void Update::backUp()
{
    const std::string area = firmware.getBackupImagePath();
    require(!area.empty(), "there is no backup area");
    firmware.backupImage(source, version);
    // No status is returned: the slot shows whether the backup is complete.
    require(
        Slots(firmware).verifying == version &&
            isWholeTar(area + '/' + firmware.name + "/verifying/firmware.tar"),
        "the backup is not whole");
}

void Update::publish()
{
    require(firmware.setBmcVersion(object, version) == 0 &&
                firmware.setBmcReleaseDate(object, release["BUILD_DATE"]) ==
                    0 &&
                firmware.setBmcName(object, release["NAME"]) == 0,
            "the version is not published");
}

void prepare(FwManager& firmware)
{
    if (PowerMask::isLeft(firmware))
    {
        PowerMask::undo(firmware, "Interrupted");
    }
    if (firmware.getUpdateable())
    {
        auto options = firmware.getOptions();
        std::erase(options, ""); // a missing list reads as one empty text
        // A failure is in the journal, and does not prevent updates.
        static_cast<void>(firmware.initUpdateOption(options));
    }
}

bool checkImage(FwManager& firmware, const std::string& directory)
{
    const bool whole = isWholeTar(directory + "/firmware.tar");
    require(firmware.saveImageCheckResult(whole) == 0 &&
                firmware.readImageCheckResult() == whole,
            "the result of the check is not kept");
    return whole;
}

void verifyBackup(FwManager& firmware, const std::string& object)
{
    std::string running;
    require(firmware.getBmcVersion(object, running) == 0 && !running.empty(),
            "the version that runs is not known");
    const bool pending = Slots(firmware).verifying == running;
    firmware.verifyBackupImage(running);
    require(Slots(firmware).verified == running,
            "there is no backup of " + running);
    if (!pending)
    {
        return; // it was verified before
    }
    addToHistory(firmware, "Active", running);
    firmware.deleteVersion("Staged", wholeHistory);
    require(firmware.getVersionCount("Staged") == 0,
            "the history is not deleted");
}
