// SPDX-License-Identifier: Apache-2.0
#include "backup_operations.hpp"

#include "contents.hpp"
#include "support/files.hpp"

#include <algorithm>
#include <iterator>

namespace torture
{

namespace
{

namespace fs = std::filesystem;
using phosphor::software::updater::FwManager;
using support::writeFile;

constexpr auto incoming = "/run/incoming";
constexpr auto backup = "/run/backup";
constexpr auto verifying = "/run/backup/BMC/verifying";
constexpr auto verified = "/run/backup/BMC/verified";

/** Long enough for several writes, and no two pages are equal. */
std::string image(const std::string& version)
{
    std::string content;
    for (int line = 0; line < 20'000; ++line)
    {
        content += version + " " + std::to_string(line) + "\n";
    }
    return content;
}

void receiveImage()
{
    writeFile(std::string(incoming) + "/firmware.tar", image("2.0"));
}

void fillSlot(const std::string& slot, const std::string& version)
{
    writeFile(slot + "/firmware.tar", image(version));
    writeFile(slot + "/version", version);
}

void fillPendingSlot()
{
    fillSlot(verifying, "2.0");
}

std::string lookAtIncoming()
{
    return lookAtFile(std::string(incoming) + "/firmware.tar",
                      {{"2.0", image("2.0")}});
}

/** The name of the image and the content of its version file. */
std::string lookAtSlot(const std::string& slot)
{
    static const Names images{
        {"1.0", image("1.0")}, {"1.5", image("1.5")}, {"2.0", image("2.0")}};
    static const Names versions{{"1.0", "1.0"},
                                {"1.5", "1.5"},
                                {"2.0", "2.0"},
                                {"empty", ""},
                                {"short", "2"}};
    const std::string content = lookAtFile(slot + "/firmware.tar", images);
    return (content.starts_with("torn") ? "torn" : content) + " as " +
           lookAtFile(slot + "/version", versions);
}

std::string lookAtBackup()
{
    return "incoming " + lookAtIncoming() + ", verifying " +
           lookAtSlot(verifying) + ", verified " + lookAtSlot(verified);
}

std::string backUp(FwManager& manager)
{
    manager.backupImage(incoming, "2.0");
    return "";
}

std::string promote(FwManager& manager)
{
    manager.verifyBackupImage("2.0");
    return "";
}

void prepareBackup()
{
    writeConfiguration();
    clear(backup);
    fillSlot(verified, "1.0");
    receiveImage();
}

void prepareReplacement()
{
    prepareBackup();
    fillSlot(verifying, "1.5");
}

void prepareArrival()
{
    prepareBackup();
    fs::remove_all(incoming);
}

void preparePromotion()
{
    prepareArrival();
    fillPendingSlot();
}

void prepareFirstPromotion()
{
    preparePromotion();
    fs::remove_all(verified);
}

std::string lookAtPromotion()
{
    return "verifying " + lookAtSlot(verifying) + ", verified " +
           lookAtSlot(verified);
}

constexpr auto fsError = "threw filesystem error";

std::string backupState(const std::string& incomingImage,
                        const std::string& slot)
{
    return "incoming " + incomingImage + ", verifying " + slot +
           ", verified 1.0 as 1.0";
}

std::string promotionState(const std::string& pending,
                           const std::string& confirmed)
{
    return "verifying " + pending + ", verified " + confirmed;
}

Outcome backedUp(const std::string& incomingImage, const std::string& slot)
{
    return {"", backupState(incomingImage, slot)};
}

/** The special failures of a backup, without the removal of the old slot.
 *  @param before  what the files hold when nothing has been done */
std::vector<SpecialFailure> failuresOfBackup(const std::string& before)
{
    // The image is removed even if its copy failed. A caller that cannot get it
    // again has to keep a copy.
    const Outcome noSlot = backedUp("none", "none as none");
    const Outcome noImage = backedUp("none", "none as 2.0");
    const Outcome torn = backedUp("none", "torn as 2.0");
    return {
        {"stat", incoming, {fsError, before}},
        {"mkdir", verifying, noSlot},
        {"stat", "incoming/firmware.tar", noImage},
        {"open", "incoming/firmware.tar", noImage},
        {"create", "verifying/firmware.tar", noImage},
        {"copy", "verifying/firmware.tar", torn, 1},
        {"remove", "incoming/firmware.tar", backedUp("2.0", "2.0 as 2.0")},
        {"create", "verifying/version", backedUp("none", "2.0 as none")},
        {"write", "verifying/version", backedUp("none", "2.0 as empty")},
        {"short write", "verifying/version", backedUp("none", "2.0 as short")}};
}

/** The special failures of the removal of a slot.
 *  @param kept  the outcome when the slot cannot be removed any more */
std::vector<SpecialFailure> failuresOfRemoval(const std::string& slot,
                                              const Outcome& kept)
{
    // At the second open the version file is already removed.
    return {{"open", slot, kept, 2},
            {"fstat", slot, kept},
            {"fcntl", slot, kept},
            {"getdents", slot, kept, 1},
            {"remove", slot + "/firmware.tar", kept}};
}

Operation backupOperation()
{
    const Outcome done = backedUp("none", "2.0 as 2.0");
    const Outcome nothing = backedUp("2.0", "none as none");
    Operation operation{.name = "backup",
                        .prepare = prepareBackup,
                        .run = backUp,
                        .look = lookAtBackup,
                        .unharmed = done,
                        .refused = done,
                        .specialFailures = failuresOfBackup(nothing.files),
                        // One of the two places has the complete image.
                        .interrupted = {backupState("2.0", "2.0 as 2.0"),
                                        backupState("none", "2.0 as none"),
                                        backupState("none", "2.0 as empty"),
                                        done.files},
                        .lasting = {nothing, backedUp("2.0", "torn as none"),
                                    backedUp("2.0", "2.0 as none")},
                        .repair = receiveImage,
                        .disk = backup};
    for (const auto& outcome : operation.lasting)
    {
        operation.interrupted.push_back(outcome.files);
    }
    return operation;
}

Operation replacementOperation()
{
    // An old image that cannot be removed is not overwritten either. A caller
    // has to compare the slot with its own image.
    const Outcome mixed = backedUp("none", "1.5 as 2.0");
    const Outcome nothing = backedUp("2.0", "1.5 as 1.5");
    Operation operation = backupOperation();
    operation.name = "backup over a pending one";
    operation.prepare = prepareReplacement;
    operation.specialFailures = failuresOfBackup(nothing.files);
    std::ranges::copy(failuresOfRemoval(verifying, mixed),
                      std::back_inserter(operation.specialFailures));
    operation.shortOfMemory = {mixed};
    for (const auto& outcome : {nothing, backedUp("2.0", "1.5 as none")})
    {
        operation.interrupted.push_back(outcome.files);
        operation.lasting.push_back(outcome);
    }
    return operation;
}

Operation promotionOperation()
{
    const Outcome done{"", promotionState("none as none", "2.0 as 2.0")};
    const Outcome nothing{"", promotionState("2.0 as 2.0", "1.0 as 1.0")};
    // The pending slot is complete, so the next attempt promotes it.
    const Outcome noVersion{"", promotionState("2.0 as 2.0", "1.0 as none")};
    const Outcome noneVerified{"",
                               promotionState("2.0 as 2.0", "none as none")};
    Operation operation{
        .name = "promotion",
        .prepare = preparePromotion,
        .run = promote,
        .look = lookAtPromotion,
        .unharmed = done,
        .refused = done,
        .specialFailures = {{"stat", verifying, {fsError, nothing.files}},
                            {"open", "verifying/version", nothing, 1},
                            {"fstat", "verifying/version", nothing},
                            {"read", "verifying/version", nothing},
                            {"rename", verifying, noneVerified}},
        .interrupted = {nothing.files, noVersion.files, noneVerified.files,
                        done.files},
        .lasting = {nothing},
        // The removal of a slot treats a failed allocation as its own failure.
        .shortOfMemory = {noVersion},
        .disk = backup};
    std::ranges::copy(failuresOfRemoval(verified, noVersion),
                      std::back_inserter(operation.specialFailures));
    return operation;
}

Operation firstPromotionOperation()
{
    const Outcome done{"", promotionState("none as none", "2.0 as 2.0")};
    const Outcome nothing{"", promotionState("2.0 as 2.0", "none as none")};
    return {.name = "first promotion",
            .prepare = prepareFirstPromotion,
            .run = promote,
            .look = lookAtPromotion,
            .unharmed = done,
            .refused = done,
            .specialFailures = {{"stat", verifying, {fsError, nothing.files}},
                                {"open", "verifying/version", nothing, 1},
                                {"fstat", "verifying/version", nothing},
                                {"read", "verifying/version", nothing},
                                {"rename", verifying, nothing}},
            .interrupted = {nothing.files, done.files},
            .lasting = {nothing},
            .disk = backup};
}

/** Any program may fill a slot right before it is promoted: a power cut then
 *  finds it not yet written to disk. */
Operation arrivalOperation()
{
    Operation arrival = promotionOperation();
    arrival.name = "promotion of a new slot";
    arrival.prepare = prepareArrival;
    arrival.arrive = fillPendingSlot;
    arrival.repair = fillPendingSlot;
    for (const auto* content : {"none", "torn", "2.0"})
    {
        for (const auto* version : {"none", "empty", "2.0"})
        {
            arrival.interrupted.push_back(promotionState(
                std::string(content) + " as " + version, "1.0 as 1.0"));
        }
    }
    return arrival;
}

} // namespace

std::vector<Operation> backupOperations()
{
    return {backupOperation(), replacementOperation(), promotionOperation(),
            firstPromotionOperation(), arrivalOperation()};
}

} // namespace torture
