#include "operations.hpp"

#include "support/descriptor.hpp"
#include "support/files.hpp"

#include <fcntl.h>
#include <sys/file.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <map>

namespace torture
{

namespace
{

namespace fs = std::filesystem;
using namespace phosphor::software::updater;
using support::readFile;
using support::writeFile;

constexpr auto stateDirectory = "/usr/share/firmware";
constexpr auto stateLock = "/run/lock/firmware/version.lock";
constexpr auto stateFile = "/usr/share/firmware/version.json";
constexpr auto configFile = "/etc/default/firmware/config.json";
constexpr auto releaseFile = "/etc/bios-release";
constexpr auto incoming = "/run/incoming";
constexpr auto backup = "/run/backup";
constexpr auto verifying = "/run/backup/BMC/verifying";
constexpr auto verified = "/run/backup/BMC/verified";

/** Documents by what they are called in the outcomes. */
using Names = std::map<std::string, std::string>;

std::string nameOf(const std::string& content, const Names& names)
{
    for (const auto& [name, known] : names)
    {
        if (content == known)
        {
            return name;
        }
    }
    return "torn: " + content.substr(0, 200);
}

/** A record of each of two firmwares, of which only one is changed. */
std::string stateDocument(const std::string& item)
{
    return "{\n    \"Host\": {\n        \"key\": \"other\"\n    },\n"
           "    \"BMC\": {\n" +
           item + "        \"last\": \"stays\"\n    }\n}\n";
}

/** Also where the directory is a mount point. */
void clear(const fs::path& directory)
{
    fs::create_directories(directory);
    for (const auto& entry : fs::directory_iterator(directory))
    {
        fs::remove_all(entry);
    }
}

void prepareState()
{
    clear(stateDirectory);
    writeFile(stateFile, stateDocument("        \"key\": \"old\",\n"));
}

std::string lookAtState()
{
    static const Names names{
        {"old", stateDocument("        \"key\": \"old\",\n")},
        {"new", stateDocument("        \"key\": \"new\",\n")},
        {"deleted", stateDocument("")},
    };
    return nameOf(readFile(stateFile), names);
}

void prepareNoState()
{
    fs::remove_all(stateDirectory);
    fs::remove_all("/run/lock/firmware");
}

std::string lookAtFirstState()
{
    return !fs::exists(stateFile) ? "none"
                                  : nameOf(readFile(stateFile),
                                           {{"new", "{\n"
                                                    "    \"BMC\": {\n"
                                                    "        \"key\": \"new\"\n"
                                                    "    }\n"
                                                    "}\n"}});
}

std::string save(FwManager& manager)
{
    return std::to_string(manager.saveVersionStringFromInfo("key", "new"));
}

std::string remove(FwManager& manager)
{
    return std::to_string(manager.deleteVersionStringFromInfo("key"));
}

std::string read(FwManager& manager)
{
    return "\"" + manager.getVersionStringFromInfo("key") + "\"";
}

void prepareConfiguration()
{
    writeFile(configFile, R"({
    "BMC": {
        "updateable": "yes",
        "work_mode": "auto",
        "image_backup_path": "/run/backup"
    }
})");
}

std::string readConfiguration(FwManager& manager)
{
    return manager.isConfig() ? manager.getWorkMode() : "not configured";
}

std::string lookAtConfiguration()
{
    return fs::exists(configFile) ? "there" : "gone";
}

/** Long enough for several writes, and not one page like the other. */
std::string image(const std::string& version)
{
    std::string content;
    for (int line = 0; line < 20'000; ++line)
    {
        content += version + " " + std::to_string(line) + "\n";
    }
    return content;
}

void fillSlot(const std::string& slot, const std::string& version)
{
    writeFile(slot + "/firmware.tar", image(version));
    writeFile(slot + "/version", version);
}

std::string lookAtFile(const fs::path& file, const Names& names)
{
    return fs::exists(file) ? nameOf(readFile(file), names) : "none";
}

std::string lookAtSlot(const std::string& slot)
{
    const auto whole = [](const std::string& text) {
        return text.starts_with("torn") ? "torn" : text;
    };
    static const Names images{{"1.0", image("1.0")}, {"2.0", image("2.0")}};
    static const Names versions{{"1.0", "1.0"}, {"2.0", "2.0"}, {"empty", ""}};
    return whole(lookAtFile(slot + "/firmware.tar", images)) + " as " +
           lookAtFile(slot + "/version", versions);
}

void prepareBackup()
{
    prepareConfiguration();
    clear(backup);
    fillSlot(verified, "1.0");
    writeFile(std::string(incoming) + "/firmware.tar", image("2.0"));
}

std::string backUp(FwManager& manager)
{
    manager.backupImage(incoming, "2.0");
    return "";
}

std::string lookAtBackup()
{
    return "incoming " +
           lookAtFile(std::string(incoming) + "/firmware.tar",
                      {{"2.0", image("2.0")}}) +
           ", verifying " + lookAtSlot(verifying) + ", verified " +
           lookAtSlot(verified);
}

void preparePromotion()
{
    prepareBackup();
    fs::remove_all(incoming);
    fillSlot(verifying, "2.0");
}

std::string promote(FwManager& manager)
{
    manager.verifyBackupImage("2.0");
    return "";
}

std::string lookAtPromotion()
{
    return "verifying " + lookAtSlot(verifying) + ", verified " +
           lookAtSlot(verified);
}

void prepareRelease()
{
    writeFile(releaseFile, "BUILD_DATE=\"today\"\nVERSION_ID=\"1.0\"\n");
}

std::string changeRelease(FwManager&)
{
    return std::to_string(
        bmcReleaseFileItemSet(releaseFile, "VERSION_ID", "2.0"));
}

std::string lookAtRelease()
{
    return nameOf(readFile(releaseFile),
                  {{"old", "BUILD_DATE=\"today\"\nVERSION_ID=\"1.0\"\n"},
                   {"new", "BUILD_DATE=\"today\"\nVERSION_ID=\"2.0\"\n"},
                   {"alone", "VERSION_ID=\"2.0\"\n"},
                   {"half", "BUILD_DATE=\"today\"\n"},
                   {"empty", ""}});
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

Operation backupOperation()
{
    const Outcome done{"", backupState("none", "2.0 as 2.0")};
    const Outcome nothing{"", backupState("2.0", "none as none")};
    // The image goes whatever became of its copy: a caller that cannot get it
    // again keeps one.
    const Outcome noSlot{"", backupState("none", "none as none")};
    const Outcome noImage{"", backupState("none", "none as 2.0")};
    const Outcome torn{"", backupState("none", "torn as 2.0")};
    const Outcome noVersion{"", backupState("none", "2.0 as none")};
    const Outcome emptyVersion{"", backupState("none", "2.0 as empty")};
    const Outcome both{"", backupState("2.0", "2.0 as 2.0")};
    return {.name = "backup",
            .prepare = prepareBackup,
            .run = backUp,
            .look = lookAtBackup,
            .unharmed = done,
            .refused = done,
            .rows = {{"newfstatat", 1, {fsError, nothing.files}},
                     {"newfstatat", 4, noSlot},
                     {"mkdir", 1, noSlot},
                     {"newfstatat", 6, noImage},
                     {"newfstatat", 7, noImage},
                     {"openat", 4, noImage},
                     {"openat", 5, noImage},
                     {"fchmod", 1, torn},
                     {"sendfile", 1, torn},
                     {"unlink", 1, both},
                     {"openat", 12, noVersion},
                     {"write", 1, emptyVersion}},
            // The image is whole in one place or the other.
            .interrupted = {nothing.files, both.files, noVersion.files,
                            emptyVersion.files, done.files,
                            backupState("2.0", "torn as none"),
                            backupState("2.0", "2.0 as none")},
            .lasting = {nothing,
                        {"", backupState("2.0", "torn as none")},
                        {"", backupState("2.0", "2.0 as none")}},
            .repair =
                [] {
                    writeFile(std::string(incoming) + "/firmware.tar",
                              image("2.0"));
                },
            .disk = backup};
}

Operation promotionOperation()
{
    const Outcome done{"", promotionState("none as none", "2.0 as 2.0")};
    const Outcome nothing{"", promotionState("2.0 as 2.0", "1.0 as 1.0")};
    // What is pending is whole, so the next try promotes it.
    const Outcome noVersion{"", promotionState("2.0 as 2.0", "1.0 as none")};
    const Outcome noneVerified{"",
                               promotionState("2.0 as 2.0", "none as none")};
    return {.name = "promotion",
            .prepare = preparePromotion,
            .run = promote,
            .look = lookAtPromotion,
            .unharmed = done,
            .refused = done,
            .rows = {{"newfstatat", 3, {fsError, nothing.files}},
                     {"openat", 2, nothing},
                     {"read", 2, nothing},
                     {"openat", 7, noVersion},
                     {"newfstatat", 4, noVersion},
                     {"fcntl", 0, noVersion},
                     {"getdents64", 1, noVersion},
                     {"unlinkat", 2, noVersion},
                     {"rename", 1, noneVerified}},
            .interrupted = {nothing.files, noVersion.files, noneVerified.files,
                            done.files},
            .lasting = {nothing},
            .disk = backup};
}

} // namespace

const std::vector<Operation>& operations()
{
    const Outcome saved{"0", "new"};
    const Outcome deleted{"0", "deleted"};
    const Outcome readBack{"\"old\"", "old"};
    const Outcome loaded{"auto", "there"};
    const Outcome released{"0", "new"};
    static const std::vector<Operation> all{
        {.name = "save",
         .prepare = prepareState,
         .run = save,
         .look = lookAtState,
         .unharmed = saved,
         .refused = {"-1", "old"},
         // A save does not tell that the release failed.
         .rows = {{"renameat", 1, {"0", "old"}},
                  {"fsync", 2, saved},
                  {"unlinkat", 0, saved},
                  {"flock", 2, saved},
                  {"close", 0, saved}},
         .interrupted = {"old", "new"},
         .disk = stateDirectory},
        {.name = "first save",
         .prepare = prepareNoState,
         .run = save,
         .look = lookAtFirstState,
         .unharmed = saved,
         .refused = {"-1", "none"},
         .rows = {{"renameat", 1, {"0", "none"}},
                  {"fsync", 3, saved},
                  {"unlinkat", 0, saved},
                  {"flock", 2, saved},
                  {"close", 0, saved}},
         .interrupted = {"none", "new"}},
        {.name = "delete",
         .prepare = prepareState,
         .run = remove,
         .look = lookAtState,
         .unharmed = deleted,
         .refused = {"-1", "old"},
         .rows = {{"fsync", 2, {"-1", "deleted"}},
                  {"unlinkat", 0, deleted},
                  {"flock", 2, deleted},
                  {"close", 0, deleted}},
         .interrupted = {"old", "deleted"},
         .disk = stateDirectory},
        {.name = "read",
         .prepare = prepareState,
         .run = read,
         .look = lookAtState,
         .unharmed = readBack,
         .refused = {"\"\"", "old"},
         .rows = {{"newfstatat", 1, {fsError, "old"}},
                  {"flock", 2, readBack},
                  {"close", 0, readBack}},
         .interrupted = {"old"}},
        {.name = "config load",
         .prepare = prepareConfiguration,
         .run = readConfiguration,
         .look = lookAtConfiguration,
         .unharmed = loaded,
         .refused = {"not configured", "there"},
         .rows = {{"close", 0, loaded}},
         .interrupted = {"there"}},
        backupOperation(),
        promotionOperation(),
        {.name = "release-file change",
         .prepare = prepareRelease,
         .run = changeRelease,
         .look = lookAtRelease,
         .unharmed = released,
         .refused = released,
         // A file that cannot be read counts as empty, and it is written in
         // place: all that it holds is on the bus as well.
         .rows = {{"openat", 1, {"0", "alone"}},
                  {"read", 1, {"0", "alone"}},
                  {"openat", 2, {"0", "old"}},
                  {"write", 1, {"0", "empty"}},
                  {"write", 2, {"0", "half"}}},
         .interrupted = {"old", "empty", "half", "new"},
         .lasting = {{"0", "old"}},
         .repair = prepareRelease},
    };
    return all;
}

std::string tell(const Operation& operation, FwManager& manager)
{
    try
    {
        return operation.run(manager);
    }
    catch (const std::exception& e)
    {
        const std::string text = e.what();
        return "threw " + text.substr(0, text.find(": "));
    }
}

std::vector<std::string> faultsOfTheNext(const Operation& operation)
{
    std::vector<std::string> faults;
    operation.repair();
    FwManager manager("BMC");
    const Outcome next{tell(operation, manager), operation.look()};
    if (next != operation.unharmed)
    {
        faults.push_back("the next told " + next.told + ", files " +
                         next.files);
    }
    if (manager.saveVersionStringFromInfo("next", "works") != 0 ||
        manager.getVersionStringFromInfo("next") != "works" || temporaryLeft())
    {
        faults.emplace_back("no save after it");
    }
    return faults;
}

bool stateDirectoryIsTidy()
{
    return !fs::exists(stateDirectory) ||
           std::ranges::all_of(
               support::namesIn(stateDirectory), [](const std::string& name) {
                   return name == "version.json" ||
                          name == "version.json.tmp" || name == "lost+found";
               });
}

bool lockIsFree()
{
    const support::Descriptor lock(::open(stateLock, O_RDONLY | O_CLOEXEC));
    return !lock || ::flock(lock.get(), LOCK_EX | LOCK_NB) == 0;
}

bool temporaryLeft()
{
    return fs::exists(std::string(stateFile) + ".tmp");
}

} // namespace torture
