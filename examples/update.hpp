#pragma once

#include "power_mask.hpp"

#include <libfenmarch.hpp>

#include <cstdint>
#include <map>
#include <optional>
#include <string>

/**
 * One update of one firmware, from an image that has passed its check until it
 * is written and published. It goes on by steps, so that a service can look
 * after its other work between two of them.
 *
 * The power button is masked from the first step until this is destroyed,
 * finished or not.
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

/** What a service does for each firmware when it starts: undoes the mask that a
 *  process left when it was killed, and publishes the update options.
 *  @throws std::runtime_error when the button stays masked */
void prepare(Update::FwManager& firmware);

/** The versions of the backups; "" stands for none. */
struct Slots
{
    explicit Slots(Update::FwManager& firmware)
    {
        firmware.getBackupImageVersion(verifying, verified);
    }

    std::string verifying;
    std::string verified;
};

/** Keeps the result of looking through an image. @return whether it is whole */
bool checkImage(Update::FwManager& firmware, const std::string& directory);

/** Makes the backup of the version that runs the verified one.
 *  @throws std::runtime_error when there is none */
void verifyBackup(Update::FwManager& firmware, const std::string& object);
