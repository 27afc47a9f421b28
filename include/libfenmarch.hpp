// SPDX-License-Identifier: Apache-2.0

/**
 * @file
 * What the firmware-update services of a BMC share: an FwManager for each
 * firmware, the names of purposes and activation states, and release files.
 *
 * Every call runs on the caller's thread and returns when its work is done. The
 * library starts no thread, timer or main loop. It has no lock between threads:
 * a manager is used by one thread at a time. Everything that a function returns
 * belongs to the caller.
 *
 * Every function may throw std::bad_alloc and std::length_error. The comment of
 * a function names the other exceptions.
 *
 * Log records go to the journal. Failures have the level error; what is about
 * to be saved, deleted or verified has the level info. A function logs only
 * what its comment says: the message, with the names of its fields in braces.
 * A function that logs waits for the journal without limit, and does nothing
 * else meanwhile.
 *
 * The functions for release files, the functions that read or write a backup,
 * and each call of the bundled JSON store hold pthread_cancel() off: a
 * cancelled thread ends after them.
 *
 * @par Names
 * All names are case-sensitive.
 * - Purposes: Unknown, Other, System, BMC, Host, PSU.
 * - Activation states: NotReady, Invalid, Ready, Activating, Active, Failed,
 *   Staged, Staging.
 * - Software objects, usually: bmc_active, bios_active, bios_staged. The
 *   library gives a meaning to the last two only, see
 *   FwManager::setBmcVersion() and FwManager::deleteVersion().
 *
 * The first purpose and the first state have the value 0. The
 * phosphor-dbus-interfaces package of a platform may append others.
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

/** The namespace of all public functions and types. */
namespace phosphor::software::updater
{

/** Which firmware is meant. The comment of the file lists the enumerators. */
using VersionPurpose =
    sdbusplus::common::xyz::openbmc_project::software::Version::VersionPurpose;

/** The state of a software image. The comment of the file lists the
 *  enumerators. */
using Activations =
    sdbusplus::common::xyz::openbmc_project::software::Activation::Activations;

/**
 * Returns the short name in the full name of an enumerator: the text after the
 * last ".".
 *
 * @param text  for instance
 *              "xyz.openbmc_project.Software.Version.VersionPurpose.BMC"
 * @return for instance "BMC"; "" when the text has no "." or ends in one
 */
std::string getNameFromEnumString(std::string text);

/**
 * Returns the short name of a purpose.
 *
 * @param value  an enumerator
 * @return for instance "BMC"; "" when the conversion of an enumerator fails,
 *         which only a lack of memory can cause and which is logged as
 *         "Failed get name from version purpose {PURPOSE}!"
 * @throws std::invalid_argument for a value that is no enumerator; nothing is
 *         logged
 */
std::string getNameFromVersionPurpose(VersionPurpose value);

/**
 * Returns the short name of an activation state.
 *
 * @param value  an enumerator
 * @return for instance "Staged"; "" when the conversion of an enumerator fails,
 *         which only a lack of memory can cause and which is logged as
 *         "Failed get name from activation {ACTIVATION}!"
 * @throws std::invalid_argument for a value that is no enumerator; nothing is
 *         logged
 */
std::string getNameFromActivations(Activations value);

/**
 * Returns the purpose with a short name.
 *
 * @param name  for instance "BMC"
 * @return the enumerator; VersionPurpose::Unknown for any other name, or when
 *         memory runs out, which is logged as
 *         "Failed get version purpose from name {NAME}!"
 */
VersionPurpose getVersionPurposeFromName(std::string name);

/**
 * Returns the activation state with a short name.
 *
 * @param name  for instance "Staged"
 * @return the enumerator; the one of value 0 for any other name, or when memory
 *         runs out, which is logged as
 *         "Failed get activation from name {NAME}!"
 */
Activations getActivationsFromName(std::string name);

/**
 * Splits a text at every ",". Blanks and empty elements are kept. A NUL ends
 * its element.
 *
 * @param text  for instance "a,b"
 * @return the elements in their order; one empty element for an empty text
 */
std::vector<std::string> processDotString(std::string text);

/**
 * Reads a release file, whose lines have the form `KEY="value"`.
 *
 * The key of a line is the text before the first "=". The value is the text
 * after it, without its first and its last character: these are dropped as the
 * quotes, whatever they are. A line without "=" is its own key, and its value
 * is the line without its first and its last character.
 *
 * A file that cannot be read to its end counts as one that ends there. A
 * directory counts as an empty file. Nothing is locked. A FIFO is read until
 * its last writer closes it, without limit; it is an empty file while nobody
 * has it open for writing.
 *
 * @param path     the file
 * @param entries  receives a value for each key. A later line replaces an
 *                 earlier one and what the map held under its key; all other
 *                 entries of the map are kept.
 * @return 0; -1 when the file cannot be opened, which is printed to standard
 *         output as "Open file %s failed." with the path and without a line
 *         end. The map is unchanged then.
 * @throws std::out_of_range for a line that is empty or ends at its first "=".
 *         The lines before it are in the map then.
 */
int bmcReleaseFileRead(const std::string& path,
                       std::map<std::string, std::string>& entries);

/**
 * Writes a release file that has these entries and nothing else, in the order
 * of the map. Keys and values are written as they are: a line break in one of
 * them is a line break in the file.
 *
 * The file is truncated and written in place. It is created with the default
 * mode of the process (0666 less the umask); its directory has to exist.
 * Nothing is locked. Waits until the file and its name are on the disk.
 *
 * A failure after the opening, as on a full disk, is not reported and leaves
 * the file short. A power cut meanwhile leaves it short, too.
 *
 * A FIFO cannot be opened while nobody has it open for reading. One whose
 * readers are slow is waited for without limit; one whose readers close it
 * gets no more (SIGPIPE is held off).
 *
 * @param path     the file
 * @param entries  the lines to write
 * @return 0; -1 when the file cannot be opened, which is printed as
 *         bmcReleaseFileRead() does. The file is unchanged then.
 */
int bmcReleaseFileWrite(const std::string& path,
                        const std::map<std::string, std::string>& entries);

/**
 * Sets one key of a release file. Reads the file with bmcReleaseFileRead() and,
 * unless the key already has the value, writes all of it with
 * bmcReleaseFileWrite(). The lines are sorted by key then, and of duplicate
 * keys the last one is left.
 *
 * A file that cannot be opened for reading counts as empty. So a missing file
 * is created, and one that can only be written loses its other lines. Nothing
 * is locked between the reading and the writing.
 *
 * @param path   the file
 * @param key    the key to set
 * @param value  its new value
 * @return always 0. A file that cannot be opened is printed as
 *         bmcReleaseFileRead() does, a missing one too.
 * @throws std::out_of_range as bmcReleaseFileRead(); the file is unchanged
 */
int bmcReleaseFileItemSet(const std::string& path, const std::string& key,
                          const std::string& value);

/**
 * One firmware: its name, its record in the configuration file, its records in
 * the state file, the backup of its image, and its objects on the system bus.
 *
 * @par Files
 * - The configuration file, `/etc/default/firmware/config.json`: read, without
 *   a lock.
 * - The state file, `/usr/share/firmware/version.json`: read and replaced in
 *   one step, under the lock file.
 * - The lock file, `/run/lock/firmware/version.lock`: created when it is
 *   missing, locked (flock(2), exclusive) for each record, never removed.
 * - The backup directory, `<image_backup_path>/<name>/`: read and written,
 *   without a lock. It has two slots, the directories `verifying` and
 *   `verified`. Each holds an image, `firmware.tar`, and its `version`.
 * - The release file, `/etc/bios-release`: read and written in place, without
 *   a lock.
 *
 * @par Making a manager
 * Every constructor takes a reference to the default bus connection of the
 * calling thread (sd_bus_default(), the system bus for a system service). If
 * the connection is new, the constructor waits until the bus has accepted it,
 * for up to 90 seconds. It reports no failure to reach the bus.
 * The manager has no connection, as long as it lives,
 * - without a bus, or with one that hangs up or never answers,
 * - when the connection of the thread is closed,
 * - in a child of the process that opened the connection.
 *
 * The bus operations of such a manager throw sdbusplus::exception::SdBusError
 * (ENOTCONN). Its files are not affected.
 *
 * @par Sharing the connection
 * All managers of a thread share the one connection. Destroying any of them
 * flushes and closes it, also a temporary one or one whose constructor throws.
 * Then
 * - the bus operations of the other managers return their failure result;
 * - a new manager gets no connection, until everybody in the thread has
 *   released the closed one: the other managers, and the service if it holds
 *   it;
 * - a service that uses sd_bus_default() itself loses its names and objects on
 *   the bus. Its event loop goes on and receives nothing more, also with
 *   sd_bus_set_exit_on_disconnect().
 *
 * So make the managers first and keep them all, or give each a thread of its
 * own. Or give the service a connection of its own (sd_bus_open()).
 *
 * The connection is also closed when the bus ends or restarts, and by a
 * message that is longer than the bus admits (32 MiB on a system bus). To go
 * on, destroy all managers of the thread, release the connection wherever else
 * it is held, and make new managers.
 *
 * Destroy a manager before the thread that made it ends. The connection points
 * into the memory of that thread, and the process can crash. In a child
 * process, after fork() or daemon(), the bus operations of the parent's
 * managers fail, and so do those of new managers beside them. So fork before
 * the first manager is made.
 *
 * @par Bus operations
 * Unless stated otherwise, a bus operation makes one call and waits for its
 * reply.
 * - It waits up to 25 seconds (SYSTEMD_BUS_TIMEOUT). A bus that lets its
 *   clients connect and never answers delays a constructor for 90 seconds:
 *   start the service after dbus.service.
 * - A call fails when the service or the object is missing, when the reply is
 *   an error or malformed, after the time-out, and for a text that is not valid
 *   UTF-8. That is logged with the message of the operation; ERROR is the text
 *   of the exception. After a time-out the service may have done what was
 *   asked.
 * - A call that cannot be made, without a connection or with a name that gives
 *   no valid object path, throws sdbusplus::exception::SdBusError. Nothing is
 *   sent or logged then.
 * - A call may fail with EINTR when a signal handler runs meanwhile, also with
 *   SA_RESTART, although the service does what was asked (libsystemd 252 does
 *   so, 257 does not). Block signals, and take them from a signalfd or an event
 *   loop.
 * - A service in the same thread cannot answer. If it owns its name on the
 *   default connection, the call fails with ELOOP. If it owns its name on
 *   another connection, the call waits for the time-out.
 *
 * @par Software objects
 * The operations from setBmcUpdateProgress() to getFirmwareVersion() use the
 * object `/xyz/openbmc_project/software/<object>`. It shows the state of an
 * image. Those with Bmc in their name find it at the service
 * xyz.openbmc_project.Software.BMC.Updater (the BMC updater), those with
 * Firmware in their name at xyz.openbmc_project.Firmware.Updater (the firmware
 * updater). In their messages, NAME is the object. In the messages of the other
 * functions of the class, it is the name of the firmware.
 */
class FENMARCH_ON_PLATFORM FwManager
{
  public:
    /**
     * Makes the manager of the firmware with this purpose. The short name of
     * the purpose becomes its name. Takes the bus connection, see the class.
     *
     * @param firmwarePurpose  an enumerator
     * @throws std::invalid_argument for a value that is no enumerator; the
     *         connection of the thread is closed then
     */
    FwManager(VersionPurpose firmwarePurpose);

    /**
     * Makes the manager of the firmware with this name. Its purpose is the one
     * of that name, or Unknown, which getVersionPurposeFromName() logs. Takes
     * the bus connection, see the class.
     *
     * A text converts to a manager. Passed for a const FwManager&, it makes a
     * temporary one, whose end closes the connection of the thread.
     *
     * @param firmwareName  used as it is: in the path of the backup, where
     *                      "..", a slash or a NUL leads to other directories,
     *                      and in the paths of bus objects. Take it from the
     *                      service's own configuration, never from outside.
     */
    FwManager(std::string firmwareName);

    /**
     * Makes a manager as FwManager(std::string) does.
     *
     * @param firmwareName  not null
     * @throws std::logic_error for a null pointer; the connection of the thread
     *         is closed then
     */
    FwManager(const char* firmwareName);

    /** Makes the manager of the firmware "Unknown", as FwManager(std::string)
     *  does. */
    FwManager();

    /** Flushes, closes and releases the bus connection, for all managers of
     *  the thread: see the class. */
    ~FwManager();

    /** A manager is not copied or moved: its end closes the connection. */
    FwManager(const FwManager&) = delete;
    FwManager& operator=(const FwManager&) = delete;

    /**
     * Reads the firmware's record from the configuration file, unless that was
     * done before. Every accessor from isConfig() to getProcPowerDown(), and
     * the backup, calls it first. Takes no lock and logs nothing.
     *
     * The first reading that succeeds is the last: the values never change
     * afterwards for this manager, also if the file had no record for it. A
     * file that is missing, empty, or cannot be read or parsed changes nothing,
     * and the next call tries again.
     *
     * An item that is not a text counts as missing. A text is cut to 255 bytes,
     * or less so that no UTF-8 character is torn.
     */
    void loadConfigContent();

    /**
     * Returns whether there is a record: whether the file has, for the name of
     * the firmware, an item "updateable" that is not empty. Without it, nothing
     * else is taken from the file. Calls loadConfigContent() first.
     *
     * @return false also until the file was read
     */
    bool isConfig();

    /**
     * Returns whether the firmware may be updated. Calls loadConfigContent()
     * first.
     *
     * @return whether the item "updateable" is exactly "yes"
     */
    bool getUpdateable();

    /**
     * Returns the item "work_mode". Calls loadConfigContent() first.
     *
     * @return "" without the item, without a record, or until the file was read
     */
    std::string getWorkMode();

    /**
     * Returns the elements of the item "image_list", as processDotString()
     * splits them. Calls loadConfigContent() first.
     *
     * @return one empty text without the item; an empty list without a record,
     *         or until the file was read
     */
    std::vector<std::string> getImageList();

    /**
     * Returns the elements of the item "image_backup_mount". Calls
     * loadConfigContent() first. getImageBackupMountStatus() says what they
     * mean.
     *
     * @return as getImageList()
     */
    std::vector<std::string> getImageBackupMount();

    /**
     * Returns the elements of the item "options", the update options of the
     * firmware. Calls loadConfigContent() first.
     *
     * @return as getImageList()
     */
    std::vector<std::string> getOptions();

    /**
     * Returns the elements of the item "apply_time_options". Calls
     * loadConfigContent() first.
     *
     * @return only "OnStartUpdateRequest" without the item; an empty list
     *         without a record, or until the file was read
     */
    std::vector<std::string> getApplyTimeOptions();

    /**
     * Returns the item "get_version_proc", the procedure that reads the
     * version. Calls loadConfigContent() first. The library runs no procedure.
     *
     * @return as getWorkMode()
     */
    std::string getProcGetVersion();

    /**
     * Returns the item "image_check_proc", the procedure that checks an image.
     * Calls loadConfigContent() first. The library runs no procedure.
     *
     * @return as getWorkMode()
     */
    std::string getProcImageCheck();

    /**
     * Returns the item "update_proc", the procedure of the update. Calls
     * loadConfigContent() first. The library runs no procedure.
     *
     * @return as getWorkMode()
     */
    std::string getProcUpdate();

    /**
     * Returns the item "active_proc", the procedure of the activation. Calls
     * loadConfigContent() first. The library runs no procedure.
     *
     * @return as getWorkMode()
     */
    std::string getProcActive();

    /**
     * Returns the item "power_up_proc", the procedure that switches the power
     * on. Calls loadConfigContent() first. The library runs no procedure.
     *
     * @return as getWorkMode()
     */
    std::string getProcPowerUp();

    /**
     * Returns the item "power_down_proc", the procedure that switches the power
     * off. Calls loadConfigContent() first. The library runs no procedure.
     *
     * @return as getWorkMode()
     */
    std::string getProcPowerDown();

    /**
     * Keeps a record: a text under a key, in the firmware's section of the
     * state file. Creates the file, the lock file, their directories and the
     * section where they are missing. Waits for the lock without limit, and
     * then until the new file is on the disk. Logs nothing.
     *
     * The same value again writes nothing. All other records keep their values
     * and their places. On failure the old file stays in place.
     *
     * @param key    any text in UTF-8; a NUL ends it
     * @param value  any text in UTF-8; a NUL ends it. Only the first 255 bytes
     *               can be read back.
     * @return 0; -1 when the file cannot be opened, locked, parsed or written,
     *         when the firmware's name is taken there by something else than a
     *         section, and when a text is not valid UTF-8. Also 0 when the new
     *         file was written, but could not be put in place: then the old one
     *         stays.
     */
    int saveVersionStringFromInfo(std::string key, std::string value);

    /**
     * Deletes a record. One that does not exist is not a failure. Waits for the
     * lock without limit, and then until the new file is on the disk. Logs
     * nothing. Creates the lock file where it is missing, but no state file.
     *
     * @param key  as for saveVersionStringFromInfo()
     * @return 0; -1 when the file cannot be opened, locked or parsed; nonzero
     *         when the new file cannot be written or put in place. The old file
     *         stays in place then. One exception: if only the fsync of the
     *         directory failed, the new file is in place and may be lost in a
     *         power cut.
     */
    int deleteVersionStringFromInfo(std::string key);

    /**
     * Returns the value of a record. Waits for the lock without limit, and
     * creates the lock file where it is missing. Without a state file it
     * creates neither file and does not wait. Logs nothing.
     *
     * @param key  as for saveVersionStringFromInfo()
     * @return the first 255 bytes of the value, or less so that no UTF-8
     *         character is torn; "" when there is no such record, when it is
     *         not a text, and when the file cannot be opened, locked or parsed
     * @throws std::filesystem::filesystem_error when the status of the state
     *         file cannot be read, for instance without search permission
     */
    std::string getVersionStringFromInfo(std::string key);

    /**
     * Keeps the result of an image check as the record "check_result". First
     * logs "{NAME}: Save image check result to {RESULT}", also when the record
     * is then not saved.
     *
     * Touches the files of saveVersionStringFromInfo(), and waits as it does.
     *
     * @param result  kept as "yes" or "no"
     * @return as saveVersionStringFromInfo()
     */
    int saveImageCheckResult(bool result);

    /**
     * Returns the result of the last image check, from the record
     * "check_result". Touches files and waits as getVersionStringFromInfo().
     *
     * @return whether the record is exactly "yes"; so false without a record
     * @throws std::filesystem::filesystem_error as getVersionStringFromInfo()
     */
    bool readImageCheckResult();

    /**
     * Keeps the update state as the record "update_state". First logs
     * "{NAME}: Save update state to {ACTIVE}", also when the record is then not
     * saved.
     *
     * Touches the files of saveVersionStringFromInfo(), and waits as it does.
     *
     * @param state  the service's own text
     * @return as saveVersionStringFromInfo()
     */
    int saveUpdateState(std::string state);

    /**
     * Returns the last update state, from the record "update_state". Touches
     * files and waits as getVersionStringFromInfo().
     *
     * @return "" without a record; otherwise as getVersionStringFromInfo()
     * @throws std::filesystem::filesystem_error as getVersionStringFromInfo()
     */
    std::string readUpdateState();

    /**
     * Keeps the length of the version history of an activation state, as the
     * record `<activation>_count`. First logs
     * "{NAME}: Save {ACTIVE} version count to {COUNT}", also when the record is
     * then not saved.
     *
     * The length is independent of the entries: this changes no entry, and
     * saving or deleting one entry does not change the length.
     *
     * Touches the files of saveVersionStringFromInfo(), and waits as it does.
     *
     * @param activation  the short name of a state, or any other text
     * @param count       the number of entries; any number is kept
     * @return as saveVersionStringFromInfo()
     */
    int saveVersionCount(std::string activation, int count);

    /**
     * Keeps one entry of a version history, as the record
     * `<activation>_<sequence>`. First logs
     * "{NAME}: Save {ACTIVE} version_{SEQ} {VERSION}", also when the record is
     * then not saved. The length of the history is not changed.
     *
     * Touches the files of saveVersionStringFromInfo(), and waits as it does.
     *
     * @param activation  as for saveVersionCount()
     * @param sequence    counts from 0. Any number is accepted, but
     *                    deleteVersion() cannot delete only the entry 65535.
     * @param version     the version
     * @return as saveVersionStringFromInfo()
     */
    int saveVersion(std::string activation, int sequence, std::string version);

    /**
     * Returns the length of a version history, from the record
     * `<activation>_count`. Touches files and waits as
     * getVersionStringFromInfo(). Logs nothing.
     *
     * @param activation  as for saveVersionCount()
     * @return the length, as std::stoi() reads it; 0 without a record
     * @throws std::invalid_argument for a record that does not start with a
     *         number
     * @throws std::out_of_range for a number that is too large for an int
     * @throws std::filesystem::filesystem_error as getVersionStringFromInfo()
     */
    int getVersionCount(std::string activation);

    /**
     * Returns one entry of a version history. Touches files and waits as
     * getVersionStringFromInfo(). Logs nothing.
     *
     * @param activation  as for saveVersionCount()
     * @param sequence    as for saveVersion(); here 65535 is an entry
     * @return "" without an entry; otherwise as getVersionStringFromInfo()
     * @throws std::filesystem::filesystem_error as getVersionStringFromInfo()
     */
    std::string getVersion(std::string activation, int sequence);

    /**
     * Deletes one entry of a version history, or all of it.
     *
     * One entry: first logs "{NAME}: Delete {ACTIVE} version_{SEQ}". The other
     * entries keep their numbers, and the length is not changed.
     *
     * All of it, with the sequence 65535: reads the length, logs
     * "{NAME}: Delete {ACTIVE} all version", deletes the entries that the
     * length counts, from 0 on, and then the length. Entries beyond the length
     * are kept. Each deletion takes the lock and waits for the disk anew, as
     * deleteVersionStringFromInfo() does: the whole is not one step.
     *
     * If the purpose is Host and the activation is "Staged", deleting all of it
     * then also deletes the object of the staged BIOS: calls "Delete" of
     * xyz.openbmc_project.Object.Delete, of the object
     * /xyz/openbmc_project/software/bios_staged at the service
     * xyz.openbmc_project.Software.BMC.Updater. This blocks for one bus call.
     * One that fails is logged as "Delete bios_staged version failed: {ERROR}".
     *
     * @param activation  as for saveVersionCount()
     * @param sequence    the entry, or 65535 for the whole history.
     *                    deleteVersionStringFromInfo() deletes the entry with
     *                    that number.
     * @return always 0, also when a deletion or the call failed
     * @throws std::invalid_argument as getVersionCount(), for the whole history
     *         only; nothing is logged or deleted then
     * @throws std::out_of_range likewise
     * @throws std::filesystem::filesystem_error likewise
     * @throws sdbusplus::exception::SdBusError when the call cannot be made;
     *         the records are deleted then
     */
    int deleteVersion(std::string activation, int sequence);

    /**
     * Returns whether the backup area may be used. When the item
     * "image_backup_mount" has exactly two elements, both have to exist as
     * paths, links followed. With any other number there is no condition.
     *
     * Calls loadConfigContent() first, and then asks the file system each time.
     * Takes no lock and logs nothing.
     *
     * @return true without a condition, or when it holds
     * @throws std::filesystem::filesystem_error when the status of a path
     *         cannot be read; such a path does not count as absent
     */
    bool getImageBackupMountStatus();

    /**
     * Returns the root of the backup area: the item "image_backup_path", as it
     * is, whether or not it exists. Calls getImageBackupMountStatus(). Takes no
     * lock and logs nothing.
     *
     * @return "" without the item, or when the area may not be used
     * @throws std::filesystem::filesystem_error as getImageBackupMountStatus()
     */
    std::string getBackupImagePath();

    /**
     * Moves an image into the slot `verifying`, and writes its version beside
     * it. Removes first what the slot held. Creates missing directories, with
     * the default modes of the process; the files get its default mode, too.
     * The area needs room for the image twice. No lock is taken.
     *
     * Waits until the copy is on the disk, then removes the original, and then
     * waits until the version is on the disk. A power cut leaves no slot with a
     * version and a torn image.
     *
     * A failure is not reported and does not stop what follows. When the image
     * cannot be copied, the original is removed and the version is written all
     * the same. So a service that needs the image checks that
     * `verifying/firmware.tar` is whole, or keeps a copy. Only two cases are
     * logged, and nothing changes then:
     * - a missing src, as
     *   "{NAME}: Backup firmware src path not exists {PATH}";
     * - an area that is not configured or may not be used, as
     *   "{NAME}: Backup firmware dest path not exists {PATH}", where PATH is
     *   empty.
     *
     * @param src      the directory that holds the image, `firmware.tar`. It is
     *                 outside the backup area, and it is kept. Only a regular
     *                 file is copied, also one that a link leads to; then the
     *                 link is removed.
     * @param version  without blanks: it is read back up to the first one
     * @throws std::filesystem::filesystem_error when the status of src cannot
     *         be read, and as getImageBackupMountStatus(); nothing is changed
     *         then
     */
    void backupImage(const std::string& src, const std::string& version);

    /**
     * Promotes the image in the slot `verifying` if its version is the one that
     * runs: removes the slot `verified` and gives its name to `verifying`.
     * Otherwise changes nothing. If there is a slot `verifying`, first logs
     * "{NAME}: Verify backup firmware: {RUNNING} vs {VERIFYING}".
     *
     * Looks at the version only: a slot without an image is promoted, too. A
     * slot without a version has the version "". So do not call this with an
     * empty one.
     *
     * Waits until the promotion is on the disk. Takes no lock. Failures are not
     * reported: getBackupImageVersion() shows the result. After a power cut
     * between the removal and the renaming, the image is still in `verifying`,
     * and the next call promotes it.
     *
     * @param running  the version that runs; compared byte by byte
     * @throws std::filesystem::filesystem_error when the status of the slot
     *         cannot be read, and as getImageBackupMountStatus(); nothing is
     *         changed then
     */
    void verifyBackupImage(const std::string& running);

    /**
     * Returns the path of the slot `verified`, whether or not there is one.
     * Changes nothing, takes no lock and logs nothing.
     *
     * @return "" when the area is not configured or may not be used
     * @throws std::filesystem::filesystem_error as getImageBackupMountStatus()
     */
    std::string getVerifiedBackupImagePath();

    /**
     * Reads the versions of the images in both slots. A version is the first
     * word of the file `version`. It has to be a regular file, and the word has
     * to end within the first MiB. Changes nothing, takes no lock and logs
     * nothing.
     *
     * An argument is changed only if the version of its slot was read. So clear
     * both first.
     *
     * @param verifying  receives the version of the slot `verifying`
     * @param verified   receives the version of the slot `verified`
     * @throws std::filesystem::filesystem_error when the status of a slot
     *         cannot be read, and as getImageBackupMountStatus()
     */
    void getBackupImageVersion(std::string& verifying, std::string& verified);

    /**
     * Publishes the update options of the firmware, and clears the one that is
     * requested. Sets "AvailableOptions" to the list, and then
     * "RequestedOption" to "", of the interface
     * xyz.openbmc_project.Software.UpdateOption, of the object
     * `/xyz/openbmc_project/software/update_option/<name>` at the service
     * xyz.openbmc_project.Settings. The name is that of the firmware, but BIOS
     * for Host. Blocks for two bus calls.
     *
     * Logs a call that fails, as
     * "Init {PURPOSE} available options failed: {ERROR}" or as
     * "Init {PURPOSE} requested option failed: {ERROR}". PURPOSE is the name of
     * the firmware.
     *
     * @param available  the options. One that is not valid UTF-8 is left out.
     * @return 0; -1 when a call failed. After the first one, the request is not
     *         cleared; after the second one, the options are published.
     * @throws sdbusplus::exception::SdBusError when a call cannot be made
     */
    int initUpdateOption(const std::vector<std::string>& available);

    /**
     * Returns the update option that is requested: reads "RequestedOption" of
     * the object that initUpdateOption() names. Blocks for one bus call. Logs
     * one that fails, as "Read {PURPOSE} requested option failed: {ERROR}".
     *
     * @return "" when no option is requested, when the property is not a text,
     *         and when the call failed
     * @throws sdbusplus::exception::SdBusError when the call cannot be made
     */
    std::string readOption();

    /**
     * Publishes the progress of an update at the BMC updater: sets "Progress"
     * of xyz.openbmc_project.Software.ActivationProgress. Blocks for one bus
     * call. Logs one that fails, as "Set {NAME} progress failed: {ERROR}".
     *
     * @param object    the name of the software object
     * @param progress  percent; sent as it is, also above 100
     * @param ignored   has no effect
     * @return 0; -1 when the call failed
     * @throws sdbusplus::exception::SdBusError when the call cannot be made
     */
    int setBmcUpdateProgress(const std::string& object, uint8_t progress,
                             const std::string& ignored);

    /**
     * Publishes the version of an image at the BMC updater: sets "Version" of
     * xyz.openbmc_project.Software.Version. Blocks for one bus call. Logs one
     * that fails, as "Set {NAME} version failed: {ERROR}".
     *
     * For the object "bios_active", a successful call is followed by
     * bmcReleaseFileItemSet(), which sets VERSION_ID in the release file and
     * waits for the disk. A failure of that is not reported.
     *
     * @param object   the name of the software object
     * @param version  a text in UTF-8; a NUL ends it on the bus
     * @return 0; -1 when the call failed. The release file is unchanged then.
     * @throws sdbusplus::exception::SdBusError when the call cannot be made
     * @throws std::out_of_range as bmcReleaseFileItemSet(); the property is set
     */
    int setBmcVersion(const std::string& object, const std::string& version);

    /**
     * Publishes the release date of an image at the BMC updater: sets
     * "ReleaseDate" of xyz.openbmc_project.Software.Version. Blocks for one bus
     * call. Logs one that fails, as "Set {NAME} release date failed: {ERROR}".
     *
     * For the object "bios_active", then sets BUILD_DATE in the release file,
     * as setBmcVersion() sets VERSION_ID.
     *
     * @param object  the name of the software object
     * @param date    a text in UTF-8 in any form; a NUL ends it on the bus
     * @return as setBmcVersion()
     * @throws sdbusplus::exception::SdBusError when the call cannot be made
     * @throws std::out_of_range as setBmcVersion()
     */
    int setBmcReleaseDate(const std::string& object, const std::string& date);

    /**
     * Publishes the name of an image at the BMC updater: sets "Subname" of
     * xyz.openbmc_project.Software.Version. Blocks for one bus call. Logs one
     * that fails, as "Set {NAME} name failed: {ERROR}".
     *
     * For the object "bios_active", then sets NAME in the release file, as
     * setBmcVersion() sets VERSION_ID.
     *
     * @param object   the name of the software object
     * @param subname  a text in UTF-8; a NUL ends it on the bus
     * @return as setBmcVersion()
     * @throws sdbusplus::exception::SdBusError when the call cannot be made
     * @throws std::out_of_range as setBmcVersion()
     */
    int setBmcName(const std::string& object, const std::string& subname);

    /**
     * Reads the version of an image at the BMC updater: gets "Version" of
     * xyz.openbmc_project.Software.Version. Blocks for one bus call. Logs one
     * that fails, as "Get {NAME} version failed: {ERROR}".
     *
     * @param object   the name of the software object
     * @param version  receives the version; "" when the property is not a text.
     *                 Unchanged when the call fails.
     * @return 0; -1 when the call failed
     * @throws sdbusplus::exception::SdBusError when the call cannot be made
     */
    int getBmcVersion(const std::string& object, std::string& version);

    /**
     * Publishes the progress of an update at the firmware updater: sets
     * "Progress" of xyz.openbmc_project.Software.ActivationProgress. Blocks for
     * one bus call. Logs one that fails, as
     * "Set {NAME} progress failed: {ERROR}".
     *
     * @param object    the name of the software object
     * @param progress  percent; sent as it is, also above 100
     * @param ignored   has no effect
     * @return 0; -1 when the call failed
     * @throws sdbusplus::exception::SdBusError when the call cannot be made
     */
    int setFirmwareUpdateProgress(const std::string& object, uint8_t progress,
                                  const std::string& ignored);

    /**
     * Publishes the version of an image at the firmware updater: sets "Version"
     * of xyz.openbmc_project.Software.Version. Blocks for one bus call. Logs
     * one that fails, as "Set {NAME} version failed: {ERROR}". The release file
     * is not touched.
     *
     * @param object   the name of the software object
     * @param version  a text in UTF-8; a NUL ends it
     * @return 0; -1 when the call failed
     * @throws sdbusplus::exception::SdBusError when the call cannot be made
     */
    int setFirmwareVersion(const std::string& object,
                           const std::string& version);

    /**
     * Publishes the release date of an image at the firmware updater: sets
     * "ReleaseDate" of xyz.openbmc_project.Software.Version. Blocks for one bus
     * call. Logs one that fails with the message of the version,
     * "Set {NAME} version failed: {ERROR}". The release file is not touched.
     *
     * @param object  the name of the software object
     * @param date    a text in UTF-8 in any form; a NUL ends it
     * @return 0; -1 when the call failed
     * @throws sdbusplus::exception::SdBusError when the call cannot be made
     */
    int setFirmwareReleaseDate(const std::string& object,
                               const std::string& date);

    /**
     * Publishes the name of an image at the firmware updater: sets "Subname" of
     * xyz.openbmc_project.Software.Version. Blocks for one bus call. Logs one
     * that fails, as "Set {NAME} subname failed: {ERROR}". The release file is
     * not touched.
     *
     * @param object   the name of the software object
     * @param subname  a text in UTF-8; a NUL ends it
     * @return 0; -1 when the call failed
     * @throws sdbusplus::exception::SdBusError when the call cannot be made
     */
    int setFirmwareName(const std::string& object, const std::string& subname);

    /**
     * Reads the version of an image at the firmware updater: gets "Version" of
     * xyz.openbmc_project.Software.Version. Blocks for one bus call. Logs one
     * that fails, as "Get {NAME} version failed: {ERROR}".
     *
     * @param object   the name of the software object
     * @param version  receives the version; "" when the property is not a text.
     *                 Unchanged when the call fails.
     * @return 0; -1 when the call failed
     * @throws sdbusplus::exception::SdBusError when the call cannot be made
     */
    int getFirmwareVersion(const std::string& object, std::string& version);

    /**
     * Masks the power button: sets "ButtonMasked" of the interface
     * xyz.openbmc_project.Chassis.Buttons to true, of the object
     * /xyz/openbmc_project/chassis/buttons/power at the service
     * xyz.openbmc_project.State.Host. Blocks for one bus call. Logs one that
     * fails, as "Disable power operation failed: {ERROR}".
     *
     * Masks are not counted. The button stays masked when the process ends.
     *
     * @return 0; -1 when the call failed. The button may be masked then.
     * @throws sdbusplus::exception::SdBusError when the call cannot be made
     */
    int disablePowerOp();

    /**
     * Unmasks the power button, however often it was masked: sets
     * "ButtonMasked" of the object that disablePowerOp() names to false. Blocks
     * for one bus call. Logs one that fails, as
     * "Enable power operation failed: {ERROR}".
     *
     * @return 0; -1 when the call failed. The button may be unmasked then.
     * @throws sdbusplus::exception::SdBusError when the call cannot be made
     */
    int enablePowerOp();

    /** The purpose of the firmware. */
    VersionPurpose purpose{};
    /** The name of the firmware, under which its configuration, its records,
     *  its backup and its update options are found. */
    std::string name;
    /** The connection, which the caller may use on the same thread, too. It is
     *  closed by the end of any manager of the thread. */
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
