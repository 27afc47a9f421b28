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

#if __cplusplus < 202002L
#error "libfenmarch needs C++20: compile with -std=c++20 or newer"
#endif

#include <libfenmarch/platform.hpp>
#include <libfenmarch/version.hpp>
#include <sdbusplus/bus.hpp>
#include <xyz/openbmc_project/Software/Activation/common.hpp>
#include <xyz/openbmc_project/Software/Version/common.hpp>

#include <cstdint>
#include <map>
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
 * @return "" when something else than the value is in the way, which is logged
 *         as "Failed get name from version purpose {PURPOSE}!"
 * @throws what the bindings throw (std::invalid_argument) for a value that is
 *         no enumerator; nothing is logged then
 */
std::string getNameFromVersionPurpose(VersionPurpose value);

/** The short name of an activation state, such as "Staged"; otherwise as
 *  getNameFromVersionPurpose(), with
 *  "Failed get name from activation {ACTIVATION}!". */
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

/*
 * The release file functions and the backup hold pthread_cancel() off for the
 * length of each operation, and so does the bundled JSON store: a thread that
 * is cancelled ends after the operation.
 */

/**
 * Reads a release file: lines of a key, "=" and a value in double quotes. Of
 * each line the text before the first "=" is the key; of the rest, the first
 * and the last character are dropped as the quotes, whatever they are. A line
 * without "=" is its own key, and itself less its first and last character is
 * the value.
 *
 * Of a FIFO, waits for its writers until the last of them closes it; one that
 * nobody has open for writing is an empty file.
 *
 * @param entries  receives the lines; of equal keys the last one counts, and
 *                 what the map held under other keys stays
 * @return 0, or -1 when the file cannot be opened, which is told on standard
 *         output as "Open file %s failed.", without a line end
 * @throws std::out_of_range for a line that is empty or ends at its first
 *         "="; the lines before it are in the map
 */
int bmcReleaseFileRead(const std::string& path,
                       std::map<std::string, std::string>& entries);

/**
 * Writes a release file with these entries, in the order of the map and
 * nothing else, in place: the file is truncated first. Keys and values are
 * written as they are, so a line break in one is a line break in the file.
 * Waits until it is on the disk; a new file has the mode that the process gives
 * by default. What fails after the opening, as on a full disk, is not reported
 * and leaves the file short. Waits for the readers of a FIFO; one that nobody
 * has open for reading cannot be opened, and one whose readers go away takes
 * no more (SIGPIPE is held off).
 *
 * @return 0, or -1 when the file cannot be opened, told as by
 *         bmcReleaseFileRead()
 */
int bmcReleaseFileWrite(const std::string& path,
                        const std::map<std::string, std::string>& entries);

/**
 * Sets one key of a release file, by reading and writing the whole file, which
 * is created where it is missing (which is told on standard output, as by
 * bmcReleaseFileRead()). The lines end up sorted by key. A key that
 * has this value already writes nothing. Nothing is locked.
 *
 * @return 0, also when the file could not be read or written
 * @throws std::out_of_range as bmcReleaseFileRead(); the file stands then
 */
int bmcReleaseFileItemSet(const std::string& path, const std::string& key,
                          const std::string& value);

/**
 * One firmware: its name, its record in the configuration file, its records in
 * the state file, the backup of its image, and its objects on the system bus.
 *
 * Files:
 *   /etc/default/firmware/config.json     read, without a lock
 *   /usr/share/firmware/version.json      read and replaced in one step, under
 *   /run/lock/firmware/version.lock       which is locked for each operation
 *   <image_backup_path>/<name>/           the backup, without a lock
 *   /etc/bios-release                     written in place, without a lock
 *
 * Every constructor takes a reference to the calling thread's default bus
 * connection (sd_bus_default(), the system bus for a system service) and, if it
 * is new, waits until the bus has accepted it, for up to 90 seconds. A failure
 * to reach the bus is not reported there. Without a bus, with one that hangs up
 * or never answers, with a connection that is closed, and in a child of the
 * process that opened the connection, the manager has no connection as long as
 * it lives: its bus operations throw sdbusplus::exception::SdBusError
 * (ENOTCONN). Files are not affected.
 *
 * All managers of a thread share that one connection, and destroying any of
 * them flushes and closes it. The bus operations of the others return their
 * failure result from then on. Managers made later get no connection, until
 * everybody in the thread has released the closed one: the other managers, and
 * the service, if it holds it. So a thread keeps its managers together, or
 * gives each a thread of its own.
 *
 * It is the connection of the service itself, too, if that uses
 * sd_bus_default(): its names and objects on the bus go with any manager, even
 * a temporary one or one whose constructor throws. Its event loop goes on and
 * hears nothing more, also with sd_bus_set_exit_on_disconnect(). So make the
 * managers first and keep them, or give the service a connection of its own
 * (sd_bus_open()).
 *
 * The connection is closed for good, too, when the bus ends or restarts, and
 * when a message is longer than the bus admits (32 MiB on a system bus). A
 * caller who wants to go on destroys all managers of the thread, releases the
 * connection wherever else it is held, and makes new managers.
 *
 * Destroy a manager before the thread that made it ends: the connection points
 * into the memory of that thread, and the process crashes. In a child process,
 * after fork() or daemon(), the bus operations of the parent's managers fail,
 * and so do those of new ones beside them: fork before the first one is made.
 *
 * A bus operation
 * - waits up to 25 seconds for its service (SYSTEMD_BUS_TIMEOUT). A bus that
 *   lets its clients connect and says nothing holds a constructor up for 90
 *   seconds instead: start the service after dbus.service.
 * - may fail with EINTR when a signal handler runs during the call, with
 *   SA_RESTART too, although the service does what was asked (libsystemd 252
 *   does so, 257 does not). Block signals and take them from a signalfd or an
 *   event loop.
 * - does not reach a service in the same thread: one that owns the name on the
 *   default connection itself makes it fail with ELOOP, and one on another
 *   connection lets it wait in vain.
 *
 * Operations that log wait for the journal without limit. Saves do so before
 * they act: where the journal has stopped, nothing is saved.
 */
class FENMARCH_ON_PLATFORM FwManager
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
     *
     * The name is used as it is: in the path of the backup, where "..", a
     * slash or a NUL leads to other directories, and of objects on the bus. It
     * comes from the caller's own configuration, never from outside.
     *
     * A text converts to a manager: passed for a const FwManager&, it makes a
     * temporary one, whose end closes the connection of the thread.
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
     * A value longer than 255 bytes is cut to what fits, at a character. The
     * accessors give empty texts and lists until a usable record was read. In
     * one, a list that is missing reads as one empty text.
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
     * The new file is on the disk and in its place then, or on failure the old
     * one stands. Nothing is logged.
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
     *         stands (or the new one, if all that failed was to make its place
     *         on the disk sure)
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
     * Keeps the length of the version history of an activation state as the
     * record "<activation>_count", after logging
     * "{NAME}: Save {ACTIVE} version count to {COUNT}". It goes its own way:
     * no entry is touched, and none of the operations on entries touches it.
     *
     * @param activation  as getNameFromActivations() gives it, or any text
     * @return as saveVersionStringFromInfo()
     */
    int saveVersionCount(std::string activation, int count);

    /**
     * Keeps one entry of a version history as the record
     * "<activation>_<sequence>", after logging
     * "{NAME}: Save {ACTIVE} version_{SEQ} {VERSION}".
     *
     * @param sequence  counts from 0; any number will do, but deleteVersion()
     *                  cannot delete the entry 65535 alone
     * @return as saveVersionStringFromInfo()
     */
    int saveVersion(std::string activation, int sequence, std::string version);

    /**
     * The length of a version history as it was saved, 0 when it was not.
     *
     * @throws std::invalid_argument, std::out_of_range from std::stoi for a
     *         record that is no number or too large for an int; and as
     *         getVersionStringFromInfo()
     */
    int getVersionCount(std::string activation);

    /**
     * One entry of a version history; "" when there is none.
     * @throws as getVersionStringFromInfo()
     */
    std::string getVersion(std::string activation, int sequence);

    /**
     * Deletes one entry of a version history, after logging
     * "{NAME}: Delete {ACTIVE} version_{SEQ}". The other entries keep their
     * numbers and the length stays.
     *
     * The sequence 65535 stands for the whole history, never for the entry of
     * that number (deleteVersionStringFromInfo() deletes that): after logging
     * "{NAME}: Delete {ACTIVE} all version", the entries from 0 up to the
     * length are deleted and then the length, each under a lock of its own (so
     * the time it takes grows with the length). When the purpose is Host and
     * the activation is "Staged", then the bus object
     * /xyz/openbmc_project/software/bios_staged is deleted too, by a call of
     * "Delete" of xyz.openbmc_project.Object.Delete at
     * xyz.openbmc_project.Software.BMC.Updater. A call that fails is logged as
     * "Delete bios_staged version failed: {ERROR}".
     *
     * @return 0, whatever became of the deletions
     * @throws as getVersionCount() for the whole history, with nothing
     *         deleted; sdbusplus::exception::SdBusError when there is no
     *         connection to make the call on, with the records deleted
     */
    int deleteVersion(std::string activation, int sequence);

    /**
     * Whether the backup area may be used: when "image_backup_mount" has
     * exactly two entries, whether both exist as paths, links followed;
     * otherwise true. Asks the file system each time.
     *
     * @throws std::filesystem::filesystem_error when that cannot be told
     */
    bool getImageBackupMountStatus();

    /**
     * The root of the backup area, as configured; "" when none is configured
     * or it may not be used. Whether it exists is not looked at.
     * @throws as getImageBackupMountStatus()
     */
    std::string getBackupImagePath();

    /**
     * Moves the image src/firmware.tar into the slot
     * <root>/<name>/verifying, with the version in the file "version" beside
     * it. What the slot held is removed first; missing directories are
     * created. Waits until the image is on the disk there before the original
     * is removed, and then for the version. Needs room for the image twice.
     * New directories and files have the modes that the process gives by
     * default, whatever the mode of the original is.
     *
     * Failures are not reported and do not stop what follows: when the image
     * cannot be copied, the original is removed and the version written all
     * the same. So a caller who needs the image looks whether
     * verifying/firmware.tar is whole, or keeps a copy. Only a missing src is
     * logged, as "{NAME}: Backup firmware src path not exists {PATH}", and an
     * area that may not be used, as
     * "{NAME}: Backup firmware dest path not exists {PATH}"; nothing changes
     * then.
     *
     * @param src      the directory that holds the image, outside the backup
     *                 area; it stays
     * @param version  without blanks: it is read up to the first one
     * @throws as getImageBackupMountStatus()
     */
    void backupImage(const std::string& src, const std::string& version);

    /**
     * Makes the image in the slot "verifying" the one in the slot "verified",
     * in place of what was there, if its version is the one that runs, to the
     * byte; else changes nothing. With a slot to look at, logs
     * "{NAME}: Verify backup firmware: {RUNNING} vs {VERIFYING}" first. The
     * promotion is on the disk when this returns.
     *
     * Only the version is looked at: a slot whose image is missing is promoted
     * too, and one without a version has the empty one. So do not call it with
     * an empty version.
     *
     * Failures are not reported. A power cut between the removal of the old
     * slot and the rename of the new one leaves that one in "verifying".
     *
     * @throws as getImageBackupMountStatus()
     */
    void verifyBackupImage(const std::string& running);

    /**
     * The path of the slot "verified", whether or not there is one; "" when
     * the area may not be used.
     * @throws as getImageBackupMountStatus()
     */
    std::string getVerifiedBackupImagePath();

    /**
     * The versions of the images in both slots: the first word of a regular
     * file, if it ends within the first MiB. A slot that is missing, or whose
     * version cannot be read, leaves its argument as it was, and so does an
     * area that may not be used: clear both first.
     * @throws as getImageBackupMountStatus()
     */
    void getBackupImageVersion(std::string& verifying, std::string& verified);

    /**
     * Publishes the update options of the firmware and clears the requested
     * one: sets "AvailableOptions" to the list, then "RequestedOption" to "",
     * of the interface xyz.openbmc_project.Software.UpdateOption at
     * /xyz/openbmc_project/software/update_option/<name> (BIOS for the name
     * Host), at the service xyz.openbmc_project.Settings. Blocks for two bus
     * calls. An option that is no valid UTF-8 is left out.
     *
     * @return 0, or -1 when a call failed, which is logged as
     *         "Init {PURPOSE} available options failed: {ERROR}" (the request
     *         stands then) or as
     *         "Init {PURPOSE} requested option failed: {ERROR}" (the options
     *         are published then)
     * @throws sdbusplus::exception::SdBusError when the call cannot be made:
     *         no connection, or a name that gives no object path; nothing is
     *         logged then
     */
    int initUpdateOption(const std::vector<std::string>& available);

    /**
     * The requested update option. Blocks for one bus call.
     *
     * @return "" when none is requested, when it is no string, and when the
     *         call failed, which is logged as
     *         "Read {PURPOSE} requested option failed: {ERROR}"
     * @throws as initUpdateOption()
     */
    std::string readOption();

    /**
     * The next ten publish the state of an image on its software object,
     * /xyz/openbmc_project/software/<object>, and read its version back: the
     * first five at the service xyz.openbmc_project.Software.BMC.Updater, the
     * others at xyz.openbmc_project.Firmware.Updater. Each blocks for one bus
     * call.
     *
     * After setting the version, release date or name of the object
     * "bios_active", the first five also set VERSION_ID, BUILD_DATE or NAME
     * of the file /etc/bios-release, by bmcReleaseFileItemSet(); what fails
     * there is ignored, but its std::out_of_range leaves the operation.
     *
     * Each returns 0, or -1 when the call failed, which is logged as the text
     * beside it; the release file and the argument are as they were then
     * (after a time-out, the property may be set). Each throws
     * sdbusplus::exception::SdBusError when the call cannot be made: no
     * connection, or an object that gives no object path; nothing is logged
     * then.
     */

    /** Sets "Progress" (percent, not checked) of the interface
     *  xyz.openbmc_project.Software.ActivationProgress; the third argument
     *  means nothing. "Set {NAME} progress failed: {ERROR}" */
    int setBmcUpdateProgress(const std::string& object, uint8_t progress,
                             const std::string& ignored);
    /** Sets "Version" of xyz.openbmc_project.Software.Version.
     *  "Set {NAME} version failed: {ERROR}" */
    int setBmcVersion(const std::string& object, const std::string& version);
    /** Sets "ReleaseDate" of xyz.openbmc_project.Software.Version.
     *  "Set {NAME} release date failed: {ERROR}" */
    int setBmcReleaseDate(const std::string& object, const std::string& date);
    /** Sets "Subname" of xyz.openbmc_project.Software.Version.
     *  "Set {NAME} name failed: {ERROR}" */
    int setBmcName(const std::string& object, const std::string& subname);
    /** Reads "Version" of xyz.openbmc_project.Software.Version, one that is
     *  no string as "". On failure the argument stays as it was.
     *  "Get {NAME} version failed: {ERROR}" */
    int getBmcVersion(const std::string& object, std::string& version);

    /** As setBmcUpdateProgress(). */
    int setFirmwareUpdateProgress(const std::string& object, uint8_t progress,
                                  const std::string& ignored);
    /** As setBmcVersion(). */
    int setFirmwareVersion(const std::string& object,
                           const std::string& version);
    /** As setBmcReleaseDate(), but "Set {NAME} version failed: {ERROR}". */
    int setFirmwareReleaseDate(const std::string& object,
                               const std::string& date);
    /** As setBmcName(), but "Set {NAME} subname failed: {ERROR}". */
    int setFirmwareName(const std::string& object, const std::string& subname);
    /** As getBmcVersion(). */
    int getFirmwareVersion(const std::string& object, std::string& version);

    /**
     * Masks the chassis power button: sets "ButtonMasked" of the interface
     * xyz.openbmc_project.Chassis.Buttons at
     * /xyz/openbmc_project/chassis/buttons/power to true, at the service
     * xyz.openbmc_project.State.Host. Masks are not counted, and the button
     * stays masked when the caller ends. Blocks for one bus call, up to the
     * time-out of sd-bus.
     *
     * "Disable power operation failed: {ERROR}" is logged when it fails.
     *
     * @return 0, or -1 when the call failed
     * @throws sdbusplus::exception::SdBusError when there is no connection to
     *         make the call on; nothing is logged then
     */
    int disablePowerOp();

    /** Unmasks the button, however often it was masked; otherwise as
     *  disablePowerOp(), with "Enable power operation failed: {ERROR}". */
    int enablePowerOp();

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

} // namespace phosphor::software::updater

#pragma GCC visibility pop
