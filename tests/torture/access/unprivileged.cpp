// SPDX-License-Identifier: Apache-2.0
#include "actor.hpp"
#include "files.hpp"
#include "parts.hpp"
#include "snapshot.hpp"

#include <array>
#include <filesystem>

namespace torture::access
{

namespace
{

namespace fs = std::filesystem;
using phosphor::software::updater::FwManager;

void closeDirectories()
{
    installEverything();
    for (const auto* const directory :
         {stateDirectory, lockDirectory, "/run/release", backupRoot, mounts})
    {
        fs::permissions(directory, fs::perms(0700));
    }
}

void closeFiles()
{
    installEverything();
    for (const auto* const file : {stateFile, configFile, releaseFile,
                                   "/run/backup/BMC/verifying/version",
                                   "/run/backup/BMC/verified/version"})
    {
        fs::permissions(file, fs::perms(0600));
    }
}

/** The user does not own the image either. */
void installEverythingClosed()
{
    installEverything();
    fs::permissions(incoming, fs::perms(0755));
}

struct Situation
{
    std::string_view name;
    void (*prepare)();
};

constexpr std::array<Situation, 4> situations{{
    {"files as installed", installEverythingClosed},
    {"no files", removeEverything},
    {"closed directories", closeDirectories},
    {"closed files", closeFiles},
}};

/** An operation, and its result in each situation. */
struct UnprivilegedCase
{
    std::string_view name;
    std::string (*run)(FwManager&);
    std::array<std::string_view, situations.size()> results;
};

std::string deleteEntry(FwManager& manager)
{
    return std::to_string(manager.deleteVersion("Active", 0));
}

std::string deleteAll(FwManager& manager)
{
    constexpr int all = 65535;
    return std::to_string(manager.deleteVersion("Active", all));
}

std::string judgeMount(FwManager& manager)
{
    return manager.getImageBackupMountStatus() ? "usable" : "not usable";
}

constexpr auto denied = "threw Permission denied";

// Without its files nothing is configured, so there is no backup area either.
constexpr std::array<UnprivilegedCase, 13> unprivilegedCases{{
    {"save", save, {"-1", "-1", "-1", "-1"}},
    {"delete", remove, {"-1", "-1", "-1", "-1"}},
    {"read", read, {"''", "''", denied, "''"}},
    {"delete an entry", deleteEntry, {"0", "0", "0", "0"}},
    {"delete all entries", deleteAll, {"0", "0", denied, "0"}},
    {"configuration", readConfiguration, {"auto", "none", "auto", "none"}},
    {"mount condition", judgeMount, {"usable", "usable", denied, "usable"}},
    {"read the release file",
     readRelease,
     {"0 'old'", "-1 ''", "-1 ''", "-1 ''"}},
    {"set in the release file", setRelease, {"0", "0", "0", "0"}},
    {"write the release file", writeRelease, {"-1", "-1", "-1", "-1"}},
    {"backup", backUp, {"image there", "image gone", denied, "image there"}},
    {"promotion", promote, {"", "", denied, ""}},
    {"versions of the backups",
     readBackups,
     {"2.0, 1.0", "before, before", denied, "before, before"}},
}};

/** The one thing that the user can change is an image of their own. */
void giveAnImageAway(As as, Report& report)
{
    installEverything();
    const auto before = takeSnapshot({backupRoot});
    const std::string result = act(as, [] {
        FwManager manager("BMC");
        return backUp(manager);
    });
    if (result != "image gone" || before != takeSnapshot({backupRoot}))
    {
        report.loss("a user's own image, unprivileged: " + result);
    }
}

} // namespace

void actUnprivileged(const Plan& plan, Report& report)
{
    const As as = plan.breaks("privileged") ? As::root : As::nobody;
    for (size_t i = 0; i < situations.size(); ++i)
    {
        for (const auto& each : unprivilegedCases)
        {
            situations.at(i).prepare();
            const auto before = takeSnapshot(everything());
            const std::string result = act(as, [&] {
                FwManager manager("BMC");
                return each.run(manager);
            });
            const auto after = takeSnapshot(everything());
            const std::string cell = std::string(each.name) + ", " +
                                     std::string(situations.at(i).name) +
                                     ", unprivileged: ";
            if (result != each.results.at(i))
            {
                report.loss(cell + result);
            }
            if (before != after)
            {
                report.loss(cell + differences(before, after));
            }
            report.count("unprivileged operations");
        }
    }
    giveAnImageAway(as, report);
}

} // namespace torture::access
