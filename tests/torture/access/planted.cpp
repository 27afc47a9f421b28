// SPDX-License-Identifier: Apache-2.0
#include "actor.hpp"
#include "files.hpp"
#include "parts.hpp"
#include "snapshot.hpp"
#include "support/checked.hpp"
#include "support/descriptor.hpp"
#include "support/files.hpp"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <filesystem>

namespace torture::access
{

namespace
{

namespace fs = std::filesystem;
using phosphor::software::updater::FwManager;
using support::checked;

void makeSocket(const std::string& at)
{
    const support::Descriptor socket(
        checked(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0), "socket"));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    at.copy(address.sun_path, sizeof(address.sun_path) - 1);
    checked(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address),
                   sizeof(address)),
            "bind");
}

std::string victimBeside(const std::string& at)
{
    return at.starts_with("/run/") ? victim : otherVictim;
}

/** A kind of file that may be planted in place of another. */
struct Kind
{
    std::string_view name;
    void (*plant)(const std::string& at);
};

constexpr std::array<Kind, 9> kinds{{
    {"link",
     [](const std::string& at) { fs::create_symlink(victimBeside(at), at); }},
    {"link to a directory",
     [](const std::string& at) {
         fs::create_symlink(fs::path(victimBeside(at)).parent_path(), at);
     }},
    {"dangling link",
     [](const std::string& at) { fs::create_symlink("/run/none/x", at); }},
    {"hard link",
     [](const std::string& at) { fs::create_hard_link(victimBeside(at), at); }},
    {"FIFO",
     [](const std::string& at) { checked(::mkfifo(at.c_str(), 0666), at); }},
    {"socket", makeSocket},
    {"device", makeDevice},
    {"directory", [](const std::string& at) { fs::create_directory(at); }},
    {"full directory",
     [](const std::string& at) { support::writeFile(at + "/x", "x"); }},
}};

using Results = std::array<std::string_view, kinds.size()>;

/** An operation on a planted file, and its result for each kind of file; "-"
 *  if that kind is not tried. */
struct PlantedCase
{
    std::string_view place;
    std::string_view name;
    std::string (*run)(FwManager&);
    Results results;
};

constexpr auto verifyingSlot = "/run/backup/BMC/verifying";
constexpr auto versionFile = "/run/backup/BMC/verifying/version";
constexpr auto image = "/run/incoming/firmware.tar";

constexpr Results gone{"image gone", "image gone", "image gone",
                       "image gone", "image gone", "image gone",
                       "image gone", "image gone", "image gone"};

// In the order of the kinds. /run is mounted with nodev, so a device cannot be
// opened there.
constexpr std::array<PlantedCase, 18> plantedCases{{
    {lockFile,
     "save",
     save,
     {"-1", "-1", "-1", "0", "0", "-1", "-1", "-1", "-1"}},
    {lockFile,
     "read",
     read,
     {"''", "''", "''", "'old'", "'old'", "''", "''", "''", "''"}},
    {lockFile,
     "delete",
     remove,
     {"-1", "-1", "-1", "0", "0", "-1", "-1", "-1", "-1"}},
    {temporary, "save", save, {"0", "0", "0", "0", "0", "0", "0", "-1", "-1"}},
    {temporary,
     "read",
     read,
     {"'old'", "'old'", "'old'", "'old'", "'old'", "'old'", "'old'", "'old'",
      "'old'"}},
    {temporary,
     "delete",
     remove,
     {"0", "0", "0", "0", "0", "0", "0", "-1", "-1"}},
    {stateFile,
     "save",
     save,
     {"-1", "-1", "0", "-1", "-1", "-1", "-1", "-1", "-1"}},
    {stateFile,
     "read",
     read,
     {"''", "''", "''", "''", "''", "''", "''", "''", "''"}},
    {stateFile,
     "delete",
     remove,
     {"-1", "-1", "0", "-1", "-1", "-1", "-1", "-1", "-1"}},
    {configFile,
     "configuration",
     readConfiguration,
     {"none", "none", "none", "none", "none", "none", "none", "none", "none"}},
    {releaseFile,
     "read the release file",
     readRelease,
     {"0 ''", "0 ''", "-1 ''", "0 ''", "0 ''", "-1 ''", "-1 ''", "0 ''",
      "0 ''"}},
    {releaseFile,
     "set in the release file",
     setRelease,
     {"-", "0", "0", "-", "0", "0", "0", "0", "0"}},
    {releaseFile,
     "write the release file",
     writeRelease,
     {"-", "-1", "-1", "-", "-1", "-1", "-1", "-1", "-1"}},
    {versionFile,
     "versions of the backups",
     readBackups,
     {"victim, 1.0", "before, 1.0", "before, 1.0", "victim, 1.0", "before, 1.0",
      "before, 1.0", "before, 1.0", "before, 1.0", "before, 1.0"}},
    {versionFile, "backup", backUp, gone},
    {verifyingSlot, "backup", backUp, gone},
    {verifyingSlot, "promotion", promote, {}},
    {image,
     "backup",
     backUp,
     {"image gone", "image gone", "image gone", "image gone", "image gone",
      "image gone", "image gone", "image gone", "image there"}},
}};

void putIntoPlace(const Kind& kind, const std::string& place)
{
    installEverything();
    fs::remove_all(place);
    kind.plant(place);
}

} // namespace

void plant(const Plan& plan, Report& report)
{
    for (const auto& planted : plantedCases)
    {
        for (size_t i = 0; i < kinds.size(); ++i)
        {
            const std::string place(planted.place);
            if (planted.results.at(i) == "-")
            {
                continue;
            }
            putIntoPlace(kinds.at(i), place);
            if (plan.breaks("followed-link") && place == stateFile)
            {
                // Plants a document that the link leads to.
                support::writeFile(otherVictim, "{}\n");
            }
            const auto before =
                takeSnapshot({victimDirectory, otherVictimDirectory});
            const std::string result = act(As::root, [&] {
                FwManager manager("BMC");
                return planted.run(manager);
            });
            const auto after =
                takeSnapshot({victimDirectory, otherVictimDirectory});
            const std::string cell = std::string(planted.name) + ", a " +
                                     std::string(kinds.at(i).name) + " as " +
                                     place + ": ";
            if (result != planted.results.at(i))
            {
                report.loss(cell + result);
            }
            if (before != after)
            {
                report.loss(cell + differences(before, after));
            }
            fs::remove_all("/run/none");
            report.count("planted files");
        }
    }
}

} // namespace torture::access
