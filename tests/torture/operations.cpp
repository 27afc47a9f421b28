// SPDX-License-Identifier: Apache-2.0
#include "operations.hpp"

#include "backup_operations.hpp"
#include "contents.hpp"
#include "support/descriptor.hpp"
#include "support/files.hpp"

#include <fcntl.h>
#include <sys/file.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <iterator>

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

/** A record of each of two firmwares, of which only one is changed. */
std::string stateDocument(const std::string& before,
                          const std::string& behind = "")
{
    return "{\n    \"Host\": {\n        \"key\": \"other\"\n    },\n"
           "    \"BMC\": {\n" +
           before + "        \"last\": \"stays\"" + behind + "\n    }\n}\n";
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
        {"new at the end", stateDocument("", ",\n        \"key\": \"new\"")},
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

std::string readConfiguration(FwManager& manager)
{
    return manager.isConfig() ? manager.getWorkMode() : "not configured";
}

std::string lookAtConfiguration()
{
    return fs::exists(configFile) ? "there" : "gone";
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
                   {"a byte", "B"},
                   {"half and a byte", "BUILD_DATE=\"today\"\nV"},
                   {"empty", ""}});
}

std::vector<Operation> fileOperations()
{
    const Outcome saved{"0", "new"};
    const Outcome deleted{"0", "deleted"};
    const Outcome readBack{"\"old\"", "old"};
    const Outcome loaded{"auto", "there"};
    const Outcome released{"0", "new"};
    return {
        {.name = "save",
         .prepare = prepareState,
         .run = save,
         .look = lookAtState,
         .unharmed = saved,
         .refused = {"-1", "old"},
         // A save does not report that the release failed.
         .specialFailures = {{"rename", "version.json.tmp", {"0", "old"}},
                             {"fsync", stateDirectory, saved},
                             {"unlock", "version.lock", saved},
                             {"close", "", saved}},
         .interrupted = {"old", "new"},
         .disk = stateDirectory},
        {.name = "first save",
         .prepare = prepareNoState,
         .run = save,
         .look = lookAtFirstState,
         .unharmed = saved,
         .refused = {"-1", "none"},
         .specialFailures = {{"rename", "version.json.tmp", {"0", "none"}},
                             {"fsync", stateDirectory, saved},
                             {"unlock", "version.lock", saved},
                             {"close", "", saved}},
         .interrupted = {"none", "new"},
         .disk = "/usr/share"},
        {.name = "delete",
         .prepare = prepareState,
         .run = remove,
         .look = lookAtState,
         .unharmed = deleted,
         .refused = {"-1", "old"},
         .specialFailures = {{"fsync", stateDirectory, {"-1", "deleted"}},
                             {"unlock", "version.lock", deleted},
                             {"close", "", deleted}},
         .interrupted = {"old", "deleted"},
         .disk = stateDirectory},
        {.name = "read",
         .prepare = prepareState,
         .run = read,
         .look = lookAtState,
         .unharmed = readBack,
         .refused = {"\"\"", "old"},
         .specialFailures = {{"stat",
                              "version.json",
                              {"threw filesystem error", "old"}},
                             {"unlock", "version.lock", readBack},
                             {"close", "", readBack}},
         .interrupted = {"old"}},
        {.name = "config load",
         .prepare = writeConfiguration,
         .run = readConfiguration,
         .look = lookAtConfiguration,
         .unharmed = loaded,
         .refused = {"not configured", "there"},
         .specialFailures = {{"close", "", loaded}},
         .interrupted = {"there"}},
        {.name = "release-file change",
         .prepare = prepareRelease,
         .run = changeRelease,
         .look = lookAtRelease,
         .unharmed = released,
         .refused = released,
         // A file that cannot be read counts as empty, and it is written in
         // place: all that it holds is on the bus as well.
         .specialFailures =
             {{"open", releaseFile, {"0", "alone"}},
              {"read", releaseFile, {"0", "alone"}, 1},
              {"create", releaseFile, {"0", "old"}},
              {"write", releaseFile, {"0", "empty"}, 1},
              {"write", releaseFile, {"0", "half"}, 2},
              {"short write", releaseFile, {"0", "a byte"}, 1},
              {"short write", releaseFile, {"0", "half and a byte"}, 2}},
         .interrupted = {"old", "empty", "half", "new"},
         .lasting = {{"0", "old"}},
         .repair = prepareRelease},
    };
}

} // namespace

bool SpecialFailure::isAbout(std::string_view itsCall, std::string_view itsPath,
                             size_t itsOccurrence) const
{
    return call == itsCall &&
           (path.empty() || itsPath == path || itsPath.ends_with("/" + path)) &&
           (occurrence == 0 || occurrence == itsOccurrence);
}

std::string SpecialFailure::text() const
{
    return std::string(call) + (path.empty() ? "" : " of ") + path +
           (occurrence < 2 ? ""
                           : " (number " + std::to_string(occurrence) + ")");
}

const std::vector<Operation>& operations()
{
    static const std::vector<Operation> all = [] {
        auto some = fileOperations();
        std::ranges::move(backupOperations(), std::back_inserter(some));
        return some;
    }();
    return all;
}

std::string resultOf(const Operation& operation, FwManager& manager)
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
    const Outcome next{resultOf(operation, manager), operation.look()};
    if (next != operation.unharmed)
    {
        faults.push_back("the next attempt reported " + next.reported +
                         ", files " + next.files);
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
