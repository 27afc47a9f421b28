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

/** What may lie in the place of a file. */
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

using Told = std::array<std::string_view, kinds.size()>;

/** What an operation tells of each kind; "-" where it is not tried. */
struct Row
{
    std::string_view place;
    std::string_view name;
    std::string (*run)(FwManager&);
    Told told;
};

constexpr auto verifyingSlot = "/run/backup/BMC/verifying";
constexpr auto versionFile = "/run/backup/BMC/verifying/version";
constexpr auto image = "/run/incoming/firmware.tar";

// /run admits no devices, so one cannot be opened there.
constexpr Told gone{"image gone", "image gone", "image gone",
                    "image gone", "image gone", "image gone",
                    "image gone", "image gone", "image gone"};

// In the order of the kinds. /run admits no devices, so one cannot be opened
// there.
constexpr std::array<Row, 18> rows{{
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
    for (const auto& row : rows)
    {
        for (size_t i = 0; i < kinds.size(); ++i)
        {
            const std::string place(row.place);
            if (row.told.at(i) == "-")
            {
                continue;
            }
            putIntoPlace(kinds.at(i), place);
            if (plan.breaks("followed-link") && place == stateFile)
            {
                // The one place where a link is followed, to a document.
                support::writeFile(otherVictim, "{}\n");
            }
            const auto before =
                takeSnapshot({victimDirectory, otherVictimDirectory});
            const std::string told = act(As::root, [&] {
                FwManager manager("BMC");
                return row.run(manager);
            });
            const auto after =
                takeSnapshot({victimDirectory, otherVictimDirectory});
            const std::string cell = std::string(row.name) + ", a " +
                                     std::string(kinds.at(i).name) + " as " +
                                     place + ": ";
            if (told != row.told.at(i))
            {
                report.loss(cell + told);
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
