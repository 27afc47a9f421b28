// SPDX-License-Identifier: Apache-2.0
#include "support/child.hpp"
#include "support/library_test.hpp"
#include "support/system_calls.hpp"

#include <libfenmarch.hpp>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <sstream>

namespace
{

using namespace phosphor::software::updater;
using namespace std::string_literals;

#ifdef __SANITIZE_ADDRESS__
constexpr bool sanitized = true;
#else
constexpr bool sanitized = false;
#endif

/** The calls of an operation in their order, without the allocator's and the
 *  sanitizer's. */
class SystemCalls : public support::LibraryTest
{
  public:
    SystemCalls()
    {
        FwManager manager("BMC");
        EXPECT_EQ(manager.saveVersionStringFromInfo("key", "old"), 0);
    }

    /** What the operation printed; its calls go to `lines` and `calls`. */
    std::string trace(const std::string& operation,
                      const std::vector<std::string>& options = {})
    {
        const auto log = scratch.path / "trace";
        std::vector<std::string> command{"strace", "-y", "-o", log};
        command.insert(command.end(), options.begin(), options.end());
        command.insert(command.end(), {TRACED_OPERATION, operation});
        // LeakSanitizer does not work in a traced program.
        const auto outcome =
            support::run(command, {"ASAN_OPTIONS=detect_leaks=0"});
        EXPECT_EQ(outcome.status, 0) << outcome.output;
        readTrace(support::readFile(log));
        return outcome.output;
    }

    /** Of calls that do this, as support/system_calls.hpp names it. */
    size_t count(const std::vector<std::string>& names) const
    {
        return static_cast<size_t>(
            std::ranges::count_if(calls, [&](const auto& call) {
                return std::ranges::find(names, call) != names.end();
            }));
    }

    /** What reached the disk and the journal, in order: "sync PATH", "remove
     *  PATH", "rename", "log". */
    std::vector<std::string> effects() const
    {
        std::vector<std::string> result;
        for (size_t i = 0; i < calls.size(); ++i)
        {
            if (calls[i] == "fsync")
            {
                result.push_back("sync " + pathIn(lines[i]));
            }
            else if (calls[i] == "remove" && lines[i].ends_with(" = 0"))
            {
                result.push_back("remove " + pathIn(lines[i]));
            }
            else if (calls[i] == "rename")
            {
                result.emplace_back("rename");
            }
            else if (calls[i] == "sendmsg")
            {
                result.emplace_back("log");
            }
        }
        return result;
    }

    /** Options of strace: calls that do this fail with EIO. If a path is given,
     *  only calls on this path or on a descriptor of it fail. */
    static std::vector<std::string> failing(const std::string& name,
                                            const std::string& path = "")
    {
        return injecting("error=EIO", name, path);
    }

    /** The same with a fault or a signal, as strace names it. */
    static std::vector<std::string> injecting(const std::string& fault,
                                              const std::string& name,
                                              const std::string& path = "")
    {
        std::string calls;
        for (const auto& call : support::systemNamesOf(name))
        {
            // Not every machine has every call.
            calls += (calls.empty() ? "?" : ",?") + call;
        }
        std::vector<std::string> options{"-e", "inject=" + calls + ":" + fault};
        if (!path.empty())
        {
            std::ranges::copy(
                std::initializer_list<std::string>{
                    "-e", "quiet=path-resolution", "-P", path, "-P",
                    "/operation begins", "-P", "/operation ends"},
                std::back_inserter(options));
        }
        return options;
    }

    /** As strace prints them. */
    std::vector<std::string> lines;
    /** What they do, a call for each line. */
    std::vector<std::string> calls;

  private:
    /** The first path of a line, from the directory that it starts at:
     *  unlinkat(3</run>, "backup", 0) */
    static std::string pathIn(const std::string& line)
    {
        const auto between = [&](char from, char to) -> std::string {
            const auto start = line.find(from) + 1;
            return start == 0
                       ? ""
                       : line.substr(start, line.find(to, start) - start);
        };
        const std::filesystem::path start = between('<', '>');
        const std::string name = between('"', '"');
        return name.empty() ? start : start / name;
    }

    void readTrace(const std::string& text)
    {
        static const std::vector<std::string> allocator{"brk", "mmap", "munmap",
                                                        "mprotect", "madvise"};
        lines.clear();
        calls.clear();
        std::istringstream input(text);
        bool within = false;
        size_t ofSanitizer = 0;
        for (std::string line; std::getline(input, line);)
        {
            // Whether memory can be read, UBSan finds out with pipe2, write,
            // close and close.
            ofSanitizer =
                sanitized && line.starts_with("pipe2(") ? 4 : ofSanitizer;
            if (ofSanitizer > 0)
            {
                --ofSanitizer;
                continue;
            }
            if (line.find("/operation ends") != std::string::npos)
            {
                return;
            }
            const auto systemName = line.substr(0, line.find('('));
            const std::string name(support::kindOfSystemCall(systemName).name);
            if (within && std::ranges::find(allocator, name) == allocator.end())
            {
                lines.push_back(line);
                calls.push_back(name);
            }
            within |= line.find("/operation begins") != std::string::npos;
        }
        ADD_FAILURE() << "the operation did not end: " << text;
    }

    support::ScratchDirectory scratch;
};

std::string inLines(const std::vector<std::string>& lines)
{
    std::string text;
    for (const auto& line : lines)
    {
        text += line + '\n';
    }
    return text;
}

TEST_F(SystemCalls, ReadWritesNothingAndIsShort)
{
    EXPECT_EQ(trace("read"), "status 0\n");
    EXPECT_EQ(
        count({"write", "pwrite64", "writev", "fsync", "rename", "ftruncate"}),
        0U)
        << inLines(lines);
    EXPECT_LE(calls.size(), 10U) << inLines(lines);
    EXPECT_GE(calls.size(), 5U) << inLines(lines);
}

TEST_F(SystemCalls, SaveWritesOnceAndSynchronisesTwice)
{
    EXPECT_EQ(trace("save"), "status 0\n");
    EXPECT_EQ(count({"write", "pwrite64", "writev"}), 1U) << inLines(lines);
    EXPECT_EQ(count({"fsync", "sync", "syncfs"}), 2U) << inLines(lines);
}

TEST_F(SystemCalls, SaveSynchronisesTheFileBeforeAndTheDirectoryAfterTheRename)
{
    trace("save");
    std::vector<std::string> order;
    std::ranges::copy_if(calls, std::back_inserter(order),
                         [](const auto& call) {
                             return call == "flock" || call == "write" ||
                                    call == "fsync" || call == "rename";
                         });
    EXPECT_EQ(order, (std::vector<std::string>{"flock", "write", "fsync",
                                               "rename", "fsync", "flock"}))
        << inLines(lines);
}

TEST_F(SystemCalls, SaveWritesTheWholeDocumentAtOnce)
{
    trace("save", {"-s", "200"});
    const auto written = std::ranges::find_if(
        lines, [](const auto& line) { return line.starts_with("write("); });
    ASSERT_NE(written, lines.end());
    EXPECT_NE(
        written->find(
            R"("{\n    \"BMC\": {\n        \"key\": \"new\"\n    }\n}\n")"),
        std::string::npos)
        << *written;
}

TEST_F(SystemCalls, SameValueAgainWritesNothing)
{
    EXPECT_EQ(trace("save the same"), "status 0\n");
    EXPECT_EQ(count({"write", "fsync", "rename"}), 0U) << inLines(lines);
}

TEST_F(SystemCalls, SaveWhoseReleaseFailsStillReportsSuccess)
{
    EXPECT_EQ(trace("save", failing("rename")), "status 0\n");
    FwManager manager("BMC");
    EXPECT_EQ(manager.getVersionStringFromInfo("key"), "old");
    EXPECT_EQ(support::namesIn("/usr/share/firmware"),
              std::vector<std::string>{"version.json"});
}

TEST_F(SystemCalls, LinkThatCannotBeReadIsNotReplaced)
{
    const std::string target = "/usr/share/firmware/real.json";
    std::filesystem::rename(stateFile, target);
    std::filesystem::create_symlink(target, stateFile);
    // The loader reads links, too.
    EXPECT_EQ(trace("save", failing("readlink", stateFile)), "status -1\n");
    EXPECT_TRUE(std::filesystem::is_symlink(stateFile));
    EXPECT_EQ(trace("save"), "status 0\n");
    EXPECT_TRUE(std::filesystem::is_symlink(stateFile));
}

TEST_F(SystemCalls, DeletionReportsThatItsReleaseFailed)
{
    EXPECT_EQ(trace("delete", failing("rename")), "status -1\n");
    FwManager manager("BMC");
    EXPECT_EQ(manager.getVersionStringFromInfo("key"), "old");
}

TEST_F(SystemCalls, DirectoryThatCannotBeSynchronisedIsReported)
{
    EXPECT_EQ(trace("delete", failing("fsync", "/usr/share/firmware")),
              "status -1\n");
    FwManager manager("BMC");
    EXPECT_EQ(manager.getVersionStringFromInfo("key"), "");
}

TEST_F(SystemCalls, FileThatCannotBeSynchronisedFailsTheSave)
{
    EXPECT_EQ(trace("save", failing("fsync", stateFile + ".tmp"s)),
              "status -1\n");
    FwManager manager("BMC");
    EXPECT_EQ(manager.getVersionStringFromInfo("key"), "old");
    EXPECT_EQ(support::namesIn("/usr/share/firmware"),
              std::vector<std::string>{"version.json"});
}

TEST_F(SystemCalls, TemporaryIsRemovedBeforeTheLockIsReleased)
{
    trace("save", failing("rename"));
    const auto last = [&](const char* name) {
        return std::ranges::find(calls.rbegin(), calls.rend(), name);
    };
    EXPECT_GT(last("remove") - calls.rbegin(), last("flock") - calls.rbegin())
        << inLines(lines);
}

TEST_F(SystemCalls, FirstSaveSynchronisesTheNewDirectoryToo)
{
    std::filesystem::remove_all("/usr/share/firmware");
    EXPECT_EQ(trace("save"), "status 0\n");
    EXPECT_EQ(effects(), (std::vector<std::string>{
                             "sync /usr/share",
                             "sync /usr/share/firmware/version.json.tmp",
                             "rename", "sync /usr/share/firmware"}))
        << inLines(lines);
}

TEST_F(SystemCalls, DeletingAllLocksForEachRecord)
{
    FwManager manager("BMC");
    manager.saveVersion("Active", 0, "1.0");
    manager.saveVersion("Active", 1, "2.0");
    manager.saveVersionCount("Active", 2);
    EXPECT_EQ(trace("delete all"), "status 0\n");
    constexpr size_t records = 4; // the length is read, then all three go
    EXPECT_EQ(count({"flock"}), 2 * records) << inLines(lines);
}

TEST_F(SystemCalls, DeletingAllGoesUpFromTheFirstEntryToTheLength)
{
    const std::vector<std::string> records{"Active_0", "Active_1", "Active_2",
                                           "Active_count"};
    for (size_t i = 0; i < records.size(); ++i)
    {
        FwManager manager("BMC");
        manager.saveVersion("Active", 0, "1.0");
        manager.saveVersion("Active", 1, "2.0");
        manager.saveVersion("Active", 2, "3.0");
        manager.saveVersionCount("Active", 3);
        // Only this deletion, counted from 1, does nothing.
        trace("delete all",
              injecting("error=EIO:when=" + std::to_string(i + 1), "rename"));
        for (const auto& record : records)
        {
            EXPECT_EQ(manager.getVersionStringFromInfo(record).empty(),
                      record != records[i])
                << record << " after failure " << i + 1;
        }
    }
}

TEST_F(SystemCalls, ChangesAreLoggedBeforeTheyAreMade)
{
    FwManager manager("BMC");
    manager.saveVersion("Active", 0, "1.0");
    manager.saveVersionCount("Active", 1);
    for (const auto* const operation :
         {"save the check result", "save the update state", "save a version",
          "save the count", "delete a version", "delete all"})
    {
        trace(operation);
        const auto order = effects();
        ASSERT_FALSE(order.empty()) << operation;
        EXPECT_EQ(std::ranges::count(order, "log"), 1) << operation;
        EXPECT_EQ(order.front(), "log") << operation;
        EXPECT_GE(std::ranges::count(order, "rename"), 1) << operation;
    }
}

TEST_F(SystemCalls, OnlyTheWriterCanOpenTheTemporaryUntilItHasModeAndOwner)
{
    trace("save");
    std::vector<std::string> order;
    for (size_t i = 0; i < calls.size(); ++i)
    {
        if (lines[i].find("version.json.tmp") != std::string::npos)
        {
            order.push_back(
                calls[i] +
                (lines[i].find(", 0600)") != std::string::npos ? " 0600" : ""));
        }
    }
    EXPECT_EQ(order,
              (std::vector<std::string>{"open 0600", "chown", "chmod", "write",
                                        "fsync", "close", "rename"}))
        << inLines(lines);
}

TEST_F(SystemCalls, FileThatShrinksAfterItsSizeIsKnownIsReadToItsNewEnd)
{
    EXPECT_EQ(trace("save", injecting("signal=SIGUSR1", "stat", stateFile)),
              "status 0\n");
    EXPECT_EQ(support::readFile(stateFile), R"({
    "BMC": {
        "a": "1",
        "key": "new"
    }
}
)");
}

TEST_F(SystemCalls, ReleaseFileIsWrittenLineByLineAndSynchronised)
{
    EXPECT_EQ(trace("write a release file"), "status 0\n");
    EXPECT_EQ(count({"write"}), 2U) << inLines(lines);
    EXPECT_EQ(effects(),
              (std::vector<std::string>{"sync /etc/bios-release", "sync /etc"}))
        << inLines(lines);
}

TEST_F(SystemCalls, ReleaseFileInTheWorkingDirectoryIsSynchronisedWithIt)
{
    EXPECT_EQ(trace("write a release file in the working directory"),
              "status 0\n");
    EXPECT_EQ(effects(),
              (std::vector<std::string>{"sync /etc/bios-release", "sync /etc"}))
        << inLines(lines);
}

class BackupCalls : public SystemCalls
{
  public:
    BackupCalls()
    {
        configure("/usr/share/firmware/backup");
        support::writeFile("/usr/share/firmware/incoming/firmware.tar",
                           "image");
    }

    static void configure(const std::string& area)
    {
        support::writeFile(configFile, R"({"BMC":{"updateable":"yes",)"
                                       R"("image_backup_path":")" +
                                           area + R"("}})");
    }

    /** Of a backup: whether it synchronised the directory. */
    bool synchronised(const std::string& directory) const
    {
        return std::ranges::count(effects(), "sync " + directory) == 1;
    }
};

/** A backup area below a mount point of its own. */
class MountedBackup : public BackupCalls
{
  public:
    MountedBackup()
    {
        std::filesystem::create_directory(disk);
        mount.emplace(support::Mount::tmpfs(disk, 1 << 20));
        configure(disk + "/backup");
    }

    const std::string disk = "/usr/share/firmware/disk";
    const std::string slot = disk + "/backup/BMC/verifying";
    const std::vector<std::string> wholeBackup{
        "sync " + slot + "/firmware.tar",
        "sync " + slot,
        "sync " + disk + "/backup/BMC",
        "sync " + disk + "/backup",
        "sync " + disk,
        "remove /usr/share/firmware/incoming/firmware.tar",
        "sync " + slot + "/version",
        "sync " + slot};

  private:
    std::optional<support::Mount> mount;
};

TEST_F(MountedBackup, IsOnTheDiskBeforeTheOriginalIsRemoved)
{
    trace("back up");
    EXPECT_EQ(effects(), wholeBackup) << inLines(lines);
}

TEST_F(MountedBackup, IsSynchronisedWithDirectoriesThatExist)
{
    std::filesystem::create_directories(disk + "/backup/BMC");
    trace("back up");
    EXPECT_EQ(effects(), wholeBackup) << inLines(lines);
}

TEST_F(MountedBackup, DirectoryWhoseDeviceIsUnknownIsSynchronised)
{
    trace("back up", failing("stat", "/"));
    EXPECT_TRUE(synchronised("/")) << inLines(lines);
}

TEST_F(MountedBackup, DirectoryOnAnotherDeviceIsNotSynchronised)
{
    configure(disk + "/../backup");
    trace("back up");
    EXPECT_FALSE(synchronised(disk)) << inLines(lines);
    EXPECT_TRUE(synchronised("/usr/share")) << inLines(lines);
}

TEST_F(BackupCalls, BackupOnABindMountIsSynchronisedBeyondIt)
{
    const std::string area = "/usr/share/firmware/backup";
    std::filesystem::create_directory(area);
    const auto bound = support::Mount::onItself(area);
    trace("back up");
    EXPECT_TRUE(synchronised(area)) << inLines(lines);
    EXPECT_TRUE(synchronised("/usr/share/firmware")) << inLines(lines);
    EXPECT_TRUE(synchronised("/usr/share")) << inLines(lines);
}

TEST_F(BackupCalls, BackupInTheWorkingDirectoryIsSynchronisedWithIt)
{
    configure("backup");
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path("/usr/share/firmware");
    trace("back up");
    std::filesystem::current_path(before);
    EXPECT_TRUE(synchronised("/usr/share/firmware")) << inLines(lines);
}

TEST_F(BackupCalls, NoDescriptorIsInheritedByAProgramThatIsExecuted)
{
    for (const auto* const operation : {"back up", "verify", "save"})
    {
        trace(operation);
        size_t opened = 0;
        for (const auto& line : lines)
        {
            if (line.starts_with("open"))
            {
                EXPECT_NE(line.find("O_CLOEXEC"), std::string::npos) << line;
                ++opened;
            }
        }
        EXPECT_GT(opened, 0U) << operation;
    }
}

TEST_F(BackupCalls, VersionOfTheOldSlotIsRemovedFirst)
{
    support::run({TRACED_OPERATION, "back up"});
    trace("back up");
    const std::string slot = "/usr/share/firmware/backup/BMC/verifying";
    const auto order = effects();
    ASSERT_GE(order.size(), 2U);
    EXPECT_EQ(order[0], "remove " + slot + "/version") << inLines(lines);
    EXPECT_EQ(order[1], "sync " + slot);
}

TEST_F(BackupCalls, VersionOfTheVerifiedSlotIsRemovedFirst)
{
    support::run({TRACED_OPERATION, "back up"});
    support::run({TRACED_OPERATION, "verify"});
    support::run({TRACED_OPERATION, "back up"});
    trace("verify");
    const std::string slot = "/usr/share/firmware/backup/BMC/verified";
    const auto order = effects();
    const auto removal = std::ranges::find_if(order, [](const auto& effect) {
        return effect.starts_with("remove ");
    });
    ASSERT_GE(order.end() - removal, 2) << inLines(lines);
    EXPECT_EQ(removal[0], "remove " + slot + "/version") << inLines(lines);
    EXPECT_EQ(removal[1], "sync " + slot) << inLines(lines);
}

TEST_F(BackupCalls, PromotionIsLoggedThenSynchronisedThenRenamed)
{
    support::run({TRACED_OPERATION, "back up"});
    trace("verify");
    const std::string slot = "/usr/share/firmware/backup/BMC/verifying";
    EXPECT_EQ(effects(), (std::vector<std::string>{
                             "log", "sync " + slot + "/firmware.tar",
                             "sync " + slot + "/version", "sync " + slot,
                             "rename", "sync /usr/share/firmware/backup/BMC"}))
        << inLines(lines);
}

TEST_F(BackupCalls, SynchronisingThatFailsChangesNothingElse)
{
    trace("back up", failing("fsync"));
    trace("verify", failing("fsync"));
    EXPECT_EQ(support::readFile(
                  "/usr/share/firmware/backup/BMC/verified/firmware.tar"),
              "image");
    EXPECT_FALSE(
        std::filesystem::exists("/usr/share/firmware/incoming/firmware.tar"));
}

TEST_F(SystemCalls, InterruptedWriteIsRepeated)
{
    EXPECT_EQ(trace("save", {"-e", "inject=write:error=EINTR:when=1"}),
              "status 0\n");
    FwManager manager("BMC");
    EXPECT_EQ(manager.getVersionStringFromInfo("key"), "new");
}

} // namespace
