// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <libfenmarch.hpp>

#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

/** @throws std::runtime_error with this text */
inline void require(bool condition, const std::string& otherwise)
{
    if (!condition)
    {
        throw std::runtime_error(otherwise);
    }
}

/**
 * Masks the power button for the time of an update: the destructor unmasks it.
 *
 * The state "Updating" is saved before the button is masked, and replaced once
 * it is unmasked. A process that is killed in between leaves that state, and
 * the next process undoes the mask.
 *
 * Masks are not counted: only one of these objects may exist at a time.
 */
class PowerMask
{
  public:
    using FwManager = phosphor::software::updater::FwManager;

    /** @param manager  outlives this object */
    explicit PowerMask(FwManager& manager) : firmware(manager)
    {
        keepState(firmware, "Updating");
        if (firmware.disablePowerOp() != 0)
        {
            undo(firmware, outcome); // after a time-out it may be masked
            throw std::runtime_error("the power button is not masked");
        }
    }

    ~PowerMask()
    {
        try
        {
            undo(firmware, outcome);
        }
        catch (const std::exception& error)
        {
            std::cerr << error.what() << '\n'; // the next start tries again
        }
    }

    PowerMask(const PowerMask&) = delete;
    PowerMask& operator=(const PowerMask&) = delete;

    /** Whether a mask was made and not undone. */
    static bool isLeft(FwManager& firmware)
    {
        return firmware.readUpdateState() == "Updating";
    }

    /** Unmasks the button and saves the new state.
     *  @throws std::runtime_error; the saved state is then unchanged */
    static void undo(FwManager& firmware, const std::string& state)
    {
        require(firmware.enablePowerOp() == 0, "the power button stays masked");
        keepState(firmware, state);
    }

    /** The state that is saved at the end. */
    std::string outcome = "Failed";

  private:
    /** Reads it back: a save also returns 0 if it could not replace the file.
     */
    static void keepState(FwManager& firmware, const std::string& state)
    {
        require(firmware.saveUpdateState(state) == 0 &&
                    firmware.readUpdateState() == state,
                "the update state is not kept: " + state);
    }

    FwManager& firmware;
};
