// SPDX-License-Identifier: Apache-2.0
#include "actor.hpp"
#include "files.hpp"
#include "parts.hpp"
#include "snapshot.hpp"
#include "support/files.hpp"

#include <filesystem>

namespace torture::access
{

namespace
{

namespace fs = std::filesystem;
using phosphor::software::updater::FwManager;

/** A firmware's name, and the directory that holds its slots. */
struct NamedBackup
{
    std::string name;
    /** Below /run/backup; "none" if the name gives no path. */
    std::string directory;
};

std::vector<NamedBackup> namedBackups()
{
    constexpr size_t mebibyte = 1'048'576;
    return {
        {"BMC", "area/BMC"},
        {"", "area"},
        {".", "area"},
        {"..", ""},
        {"../x", "x"},
        {"../../backup/y", "y"},
        {"a/b", "area/a/b"},
        {"/etc", "area/etc"},
        {"line\nbreak", "area/line\nbreak"},
        {std::string(256, 'x'), "none"},
        {std::string(mebibyte, 'x'), "none"},
    };
}

std::string configuration(const std::string& name)
{
    std::string quoted;
    for (const char each : name)
    {
        quoted += each == '\n' ? std::string("\\n") : std::string(1, each);
    }
    return "{\"" + quoted +
           R"(": {"updateable": "yes", )"
           R"("image_backup_path": "/run/backup/area"}})";
}

void backUpAs(const NamedBackup& backup, Report& report)
{
    const bool possible = backup.directory != "none";
    const std::string what =
        "the name " + backup.name.substr(0, 20) + " of a backup: ";
    removeEverything();
    support::writeFile("/run/backup/area/BMC/verified/version", "other");
    support::writeFile("/run/incoming/firmware.tar", "image");
    support::writeFile(configFile, configuration(backup.name));
    const fs::path slot =
        (fs::path(backupRoot) / backup.directory / "verifying")
            .lexically_normal();
    if (possible)
    {
        support::writeFile(slot / "precious", "goes");
    }
    auto before = takeSnapshot({backupRoot});

    act(As::root, [&] {
        FwManager manager(backup.name);
        manager.backupImage(incoming, "1");
        return "";
    });
    auto after = takeSnapshot({backupRoot});
    if (possible != (after.contains(slot / "firmware.tar") &&
                     after.contains(slot / "version") &&
                     !after.contains(slot / "precious")))
    {
        report.loss(what + differences(before, after));
    }
    const auto changes = [&](const auto& file) {
        return possible && (slot.string().starts_with(file.first) ||
                            file.first.starts_with(slot.string()));
    };
    std::erase_if(before, changes);
    std::erase_if(after, changes);
    if (before != after)
    {
        report.loss(what + differences(before, after));
    }
    // The original is removed even if there is no place for the backup.
    if (fs::exists("/run/incoming/firmware.tar"))
    {
        report.loss(what + "the original is still there");
    }
    report.count("names of backups");
}

void readAs(const std::string& name, const std::string& should, Report& report)
{
    support::writeFile(configFile, configuration(name));
    const auto result = act(As::root, [&] {
        FwManager manager(name);
        return readBackups(manager);
    });
    if (result != should)
    {
        report.loss("the backups of " + name.substr(0, 20) + ": " + result);
    }
}

/** A NUL ends the path: the rest of the name and of the path is lost. */
void cutTheName(Report& report)
{
    removeEverything();
    support::writeFile("/run/backup/area/x/verified/version", "other");
    support::writeFile("/run/incoming/firmware.tar", "image");
    support::writeFile(configFile,
                       R"({"x": {"updateable": "yes",
                           "image_backup_path": "/run/backup/area"}})");
    act(As::root, [] {
        FwManager manager(std::string("x\0y", 3));
        manager.backupImage(incoming, "1");
        return "";
    });
    const bool image = fs::exists("/run/incoming/firmware.tar");
    if (image || fs::exists("/run/backup/area/x/verified/version"))
    {
        report.loss(
            "a name with a NUL leaves what docs/security.md calls lost");
    }
    report.count("names of backups");
}

} // namespace

void nameBackups(const Plan&, Report& report)
{
    for (const auto& backup : namedBackups())
    {
        backUpAs(backup, report);
    }
    readAs(std::string(256, 'x'), "threw File name too long", report);
    readAs("none", "before, before", report);
    cutTheName(report);
}

} // namespace torture::access
