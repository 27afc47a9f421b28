/**
 * What the firmware-update services of a BMC have in common: one FwManager per
 * firmware.
 *
 * Nothing here starts a thread, a timer or a main loop: every call runs on the
 * caller's thread and returns when its work is done. The files and bus objects
 * are fixed, see each group of functions. There is no lock between threads: a
 * manager is used by one thread at a time.
 *
 * Where nothing else is said, a function may throw std::bad_alloc and
 * std::length_error.
 */
#pragma once

#include <sdbusplus/bus.hpp>
#include <xyz/openbmc_project/Software/Activation/common.hpp>
#include <xyz/openbmc_project/Software/Version/common.hpp>

#include <cstddef>
#include <string>
#include <vector>

#pragma GCC visibility push(default)

namespace phosphor::software::updater
{

/** Which firmware is meant: BMC, Host, ... */
using VersionPurpose =
    sdbusplus::common::xyz::openbmc_project::software::Version::VersionPurpose;

/** The states of a software image: Ready, Active, Staged, ... */
using Activations =
    sdbusplus::common::xyz::openbmc_project::software::Activation::Activations;

/**
 * The text after the last "." of an enumerator's full name.
 *
 * @return "" when the text has no "." or ends in one
 */
std::string getNameFromEnumString(std::string text);

/**
 * The short name of a purpose, such as "BMC".
 *
 * @throws what the bindings throw (std::invalid_argument) for a value that is
 *         no enumerator; nothing is logged then
 */
std::string getNameFromVersionPurpose(VersionPurpose value);

/** The short name of an activation state, such as "Staged"; otherwise as
 *  getNameFromVersionPurpose(). */
std::string getNameFromActivations(Activations value);

/**
 * The purpose with this short name, spelled as the enumerator, case included.
 *
 * @return VersionPurpose::Unknown for any other name, which is logged as
 *         "Failed get version purpose from name {NAME}!"
 */
VersionPurpose getVersionPurposeFromName(std::string name);

/**
 * The activation state with this short name, spelled as the enumerator.
 *
 * @return the enumerator of value 0 for any other name, which is logged as
 *         "Failed get activation from name {NAME}!"
 */
Activations getActivationsFromName(std::string name);

/**
 * Splits a text at every ",". Nothing is trimmed and empty elements are kept,
 * so an empty text gives one empty element. A NUL ends its element.
 */
std::vector<std::string> processDotString(std::string text);

/**
 * One firmware: its name, its record in the configuration file, its records in
 * the state file, and its services on the system bus.
 *
 * Files:
 *   /etc/default/firmware/config.json     read, without a lock
 *   /usr/share/firmware/version.json      read and replaced in one step, under
 *   /run/lock/firmware/version.lock       which is locked for each operation
 *
 * Every constructor takes a reference to the calling thread's default bus
 * connection (sd_bus_default(), the system bus for a system service). A bus
 * that cannot be reached is not reported there, but by the first bus operation.
 *
 * All managers of a thread share that one connection, and destroying any of
 * them flushes and closes it. The bus operations of the others fail from then
 * on, and so do those of managers made later, until the last one that holds
 * the closed connection is gone. Files are not concerned. So a thread keeps
 * its managers together, or gives each a thread of its own.
 */
class FwManager
{
  public:
    /**
     * The manager of the firmware with this purpose; the short name of the
     * purpose is its name.
     * @throws std::invalid_argument for a value that is no enumerator
     */
    FwManager(VersionPurpose firmwarePurpose);

    /**
     * The manager of the firmware with this name. The purpose is the one of
     * that name, or Unknown, which getVersionPurposeFromName() logs.
     */
    FwManager(std::string firmwareName);

    /** As FwManager(std::string). @throws std::logic_error for a null name */
    FwManager(const char* firmwareName);

    /** The manager of the firmware "Unknown". */
    FwManager();

    /** Flushes, closes and releases the bus connection; see the class. */
    ~FwManager();

    FwManager(const FwManager&) = delete;
    FwManager& operator=(const FwManager&) = delete;

    /**
     * Reads the firmware's record from the configuration file, once: after it
     * succeeds the values never change for this object. Every accessor below
     * calls it first. A file that is missing or cannot be read is no error: it
     * changes nothing, and the next call tries again.
     *
     * A value longer than 255 bytes is cut to what fits, at a character.
     */
    void loadConfigContent();

    /** Whether the file has a record for the firmware with an "updateable"
     *  item that is not empty. Without one nothing else is taken from it. */
    bool isConfig();
    /** Whether the item "updateable" is "yes". */
    bool getUpdateable();
    /** The item "work_mode". */
    std::string getWorkMode();
    /** The item "image_list", split by processDotString(). */
    std::vector<std::string> getImageList();
    /** The item "image_backup_mount", split. */
    std::vector<std::string> getImageBackupMount();
    /** The item "options", split. */
    std::vector<std::string> getOptions();
    /** The item "apply_time_options", split; "OnStartUpdateRequest" when the
     *  record has none. */
    std::vector<std::string> getApplyTimeOptions();
    /** The item "get_version_proc". The library hands this and the other
     *  procedures on; it runs none of them. */
    std::string getProcGetVersion();
    /** The item "image_check_proc". */
    std::string getProcImageCheck();
    /** The item "update_proc". */
    std::string getProcUpdate();
    /** The item "active_proc". */
    std::string getProcActive();
    /** The item "power_up_proc". */
    std::string getProcPowerUp();
    /** The item "power_down_proc". */
    std::string getProcPowerDown();

    /**
     * Keeps a string under this key in the firmware's section of the state
     * file, creating the file, its directory and the record where they are
     * missing. Waits without limit for the lock. The same value again writes
     * nothing.
     *
     * On success the new file is on the disk and in its place. On failure the
     * old file stands; nothing is logged.
     *
     * @param key    any text in UTF-8 but a NUL, which ends it
     * @param value  likewise
     * @return 0, or -1 when the file cannot be opened, locked or written. A
     *         file that was written but could not be put in its place is not
     *         reported.
     */
    int saveVersionStringFromInfo(std::string key, std::string value);

    /**
     * Removes a record. One that does not exist is no failure. Waits for the
     * lock as saveVersionStringFromInfo() does.
     *
     * @return 0; -1 when the file cannot be opened or locked; nonzero when the
     *         change could not be written or put in place, and the old file
     *         stands
     */
    int deleteVersionStringFromInfo(std::string key);

    /**
     * The value of a record. Waits for the lock as
     * saveVersionStringFromInfo() does; without a state file neither that file
     * nor the lock file is created.
     *
     * @return the first 255 bytes of the value, or less so that no character
     *         is torn; "" when there is no such record or it cannot be read
     * @throws std::filesystem::filesystem_error when it cannot be told whether
     *         the state file exists
     */
    std::string getVersionStringFromInfo(std::string key);

    /**
     * Keeps the result of an image check as the record "check_result", after
     * logging "{NAME}: Save image check result to {RESULT}".
     * @return as saveVersionStringFromInfo()
     */
    int saveImageCheckResult(bool result);

    /**
     * The result last kept; false when there is none.
     * @throws as getVersionStringFromInfo()
     */
    bool readImageCheckResult();

    /**
     * Keeps the update state as the record "update_state", after logging
     * "{NAME}: Save update state to {ACTIVE}". The text is the caller's own.
     * @return as saveVersionStringFromInfo()
     */
    int saveUpdateState(std::string state);

    /**
     * The update state last kept; "" when there is none.
     * @throws as getVersionStringFromInfo()
     */
    std::string readUpdateState();

    /**
     * Masks the chassis power button: sets "ButtonMasked" of the interface
     * xyz.openbmc_project.Chassis.Buttons at
     * /xyz/openbmc_project/chassis/buttons/power to true, at the service
     * xyz.openbmc_project.State.Host. Masks are not counted, and the button
     * stays masked when the caller ends. Blocks for one bus call, up to the
     * time-out of sd-bus.
     *
     * @return 0, or -1 when the call failed, which is logged
     * @throws sdbusplus::exception::SdBusError when there is no connection to
     *         make the call on; nothing is logged then
     */
    int disablePowerOp();

    /** Unmasks the button, however often it was masked; otherwise as
     *  disablePowerOp(). */
    int enablePowerOp();

    /**
     * Not for callers. The library defines it for the bus_t that it was built
     * on, so a program compiled against another sdbusplus does not link.
     */
    template <typename Bus, std::size_t size>
    static const char builtOn;

    VersionPurpose purpose{};
    /** Keys the records, the files and the bus objects of the firmware. */
    std::string name;
    /** The connection, for the caller's own use on the same thread. */
    sdbusplus::bus_t bus;

  private:
    bool configured = false;
    bool updateable = false;
    std::string workMode;
    std::vector<std::string> imageList;
    std::vector<std::string> imageBackupMount;
    std::string imageBackupPath;
    std::vector<std::string> options;
    std::vector<std::string> applyTimeOptions;
    std::string procGetVersion;
    std::string procImageCheck;
    std::string procUpdate;
    std::string procActive;
    std::string procPowerUp;
    std::string procPowerDown;
    bool configLoaded = false;
};

/** Makes every program that includes this header refer to builtOn. */
[[gnu::used]] inline const char* const builtOnSameBus =
    &FwManager::builtOn<sdbusplus::bus_t, sizeof(sdbusplus::bus_t)>;

} // namespace phosphor::software::updater

#pragma GCC visibility pop
