// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "power_mask.hpp"

#include <libfenmarch.hpp>

#include <cstdint>
#include <map>
#include <optional>
#include <string>

/**
 * One update of one firmware, from an image that has passed its check until it
 * is written and published. It runs in steps, so that a service can do its
 * other work between them.
 *
 * The power button is masked from the first step until this object is
 * destroyed, whether the update is finished or not.
 */
class Update
{
  public:
    using FwManager = phosphor::software::updater::FwManager;

    /**
     * @param manager    outlives this object
     * @param published  the software object that shows the progress
     * @param directory  holds firmware.tar and the file "release" with its
     *                   VERSION_ID, BUILD_DATE and NAME
     * @throws std::runtime_error when the image cannot be used
     */
    Update(FwManager& manager, std::string published, std::string directory);

    /** @return whether the update is over
     *  @throws std::exception when it has failed */
    bool step();

  private:
    void backUp();
    void publish();

    FwManager& firmware;
    std::string object;
    std::string source;
    std::map<std::string, std::string> release;
    std::string version;
    std::uint8_t percent = 0;
    std::optional<PowerMask> mask;
};

/** Prepares a firmware when the service starts: undoes the mask that a killed
 *  process left, and publishes the update options.
 *  @throws std::runtime_error when the button stays masked */
void prepare(Update::FwManager& firmware);

/** The versions of the backups; "" means that there is none. */
struct Slots
{
    explicit Slots(Update::FwManager& firmware)
    {
        firmware.getBackupImageVersion(verifying, verified);
    }

    std::string verifying;
    std::string verified;
};

/** Checks an image and saves the result. @return whether it is complete */
bool checkImage(Update::FwManager& firmware, const std::string& directory);

/** Promotes the backup of the running version to the verified backup.
 *  @throws std::runtime_error when there is none */
void verifyBackup(Update::FwManager& firmware, const std::string& object);
