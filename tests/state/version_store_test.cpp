// SPDX-License-Identifier: Apache-2.0
#include "support/child.hpp"
#include "support/library_test.hpp"

#include <libfenmarch.hpp>
#include <libostrel.h>

#include <filesystem>
#include <functional>

namespace
{

using namespace phosphor::software::updater;
namespace fs = std::filesystem;

class VersionStore : public support::LibraryTest
{
  public:
    FwManager bmc{"BMC"};
    FwManager host{"Host"};
};

TEST_F(VersionStore, ReadWithoutAStateFileCreatesNothing)
{
    EXPECT_EQ(bmc.getVersionStringFromInfo("version"), "");
    EXPECT_FALSE(fs::exists("/usr/share/firmware"));
    EXPECT_FALSE(fs::exists("/run/lock/firmware"));
}

TEST_F(VersionStore, SavedValueIsReadBack)
{
    EXPECT_EQ(bmc.saveVersionStringFromInfo("version", "1.0"), 0);
    EXPECT_EQ(bmc.getVersionStringFromInfo("version"), "1.0");
    EXPECT_EQ(support::readFile("/usr/share/firmware/version.json"), R"({
    "BMC": {
        "version": "1.0"
    }
}
)");
    EXPECT_TRUE(fs::exists("/run/lock/firmware/version.lock"));
    EXPECT_TRUE(logged().empty());
}

TEST_F(VersionStore, SecondSaveOverwrites)
{
    ASSERT_EQ(bmc.saveVersionStringFromInfo("version", "1.0"), 0);
    EXPECT_EQ(bmc.saveVersionStringFromInfo("version", "2.0"), 0);
    EXPECT_EQ(bmc.getVersionStringFromInfo("version"), "2.0");
}

TEST_F(VersionStore, FirmwaresKeepTheirOwnRecords)
{
    ASSERT_EQ(bmc.saveVersionStringFromInfo("version", "of the BMC"), 0);
    ASSERT_EQ(host.saveVersionStringFromInfo("version", "of the host"), 0);
    EXPECT_EQ(bmc.getVersionStringFromInfo("version"), "of the BMC");
    EXPECT_EQ(host.getVersionStringFromInfo("version"), "of the host");
    EXPECT_EQ(host.deleteVersionStringFromInfo("version"), 0);
    EXPECT_EQ(bmc.getVersionStringFromInfo("version"), "of the BMC");
}

TEST_F(VersionStore, RecordsOutliveTheManager)
{
    {
        FwManager early("BMC");
        ASSERT_EQ(early.saveVersionStringFromInfo("version", "1.0"), 0);
    }
    EXPECT_EQ(bmc.getVersionStringFromInfo("version"), "1.0");
}

TEST_F(VersionStore, DeletionRemovesTheRecord)
{
    ASSERT_EQ(bmc.saveVersionStringFromInfo("a", "1"), 0);
    ASSERT_EQ(bmc.saveVersionStringFromInfo("b", "2"), 0);
    EXPECT_EQ(bmc.deleteVersionStringFromInfo("a"), 0);
    EXPECT_EQ(bmc.getVersionStringFromInfo("a"), "");
    EXPECT_EQ(bmc.getVersionStringFromInfo("b"), "2");
    EXPECT_EQ(support::readFile(stateFile), R"({
    "BMC": {
        "b": "2"
    }
}
)");
}

TEST_F(VersionStore, DeletingWhatIsNotThereSucceedsAndWritesNothing)
{
    ASSERT_EQ(bmc.saveVersionStringFromInfo("a", "1"), 0);
    const auto before = support::statusOf(stateFile);
    EXPECT_EQ(bmc.deleteVersionStringFromInfo("b"), 0);
    EXPECT_EQ(host.deleteVersionStringFromInfo("a"), 0);
    EXPECT_TRUE(support::untouched(before, support::statusOf(stateFile)));
}

TEST_F(VersionStore, DeletingWithoutAStateFileSucceedsAndCreatesNone)
{
    EXPECT_EQ(bmc.deleteVersionStringFromInfo("a"), 0);
    EXPECT_FALSE(fs::exists(stateFile));
}

TEST_F(VersionStore, MissingRecordReadsAsEmpty)
{
    ASSERT_EQ(bmc.saveVersionStringFromInfo("a", "1"), 0);
    EXPECT_EQ(bmc.getVersionStringFromInfo("b"), "");
    EXPECT_EQ(host.getVersionStringFromInfo("a"), "");
}

TEST_F(VersionStore, EmptyValueIsARecord)
{
    ASSERT_EQ(bmc.saveVersionStringFromInfo("a", ""), 0);
    EXPECT_EQ(bmc.getVersionStringFromInfo("a"), "");
    EXPECT_EQ(support::readFile(stateFile), R"({
    "BMC": {
        "a": ""
    }
}
)");
}

TEST_F(VersionStore, ReadLeavesTheFileAsItWas)
{
    ASSERT_EQ(bmc.saveVersionStringFromInfo("a", "1"), 0);
    const auto before = support::statusOf(stateFile);
    EXPECT_EQ(bmc.getVersionStringFromInfo("a"), "1");
    EXPECT_TRUE(support::untouched(before, support::statusOf(stateFile)));
}

TEST_F(VersionStore, ValueIsReadBackUpTo255Bytes)
{
    const std::string fits(255, 'v');
    ASSERT_EQ(bmc.saveVersionStringFromInfo("a", fits), 0);
    EXPECT_EQ(bmc.getVersionStringFromInfo("a"), fits);
    ASSERT_EQ(bmc.saveVersionStringFromInfo("a", fits + "w"), 0);
    EXPECT_EQ(bmc.getVersionStringFromInfo("a"), fits);
    EXPECT_NE(support::readFile(stateFile).find(fits + "w"), std::string::npos);
}

TEST_F(VersionStore, StateFileThatCannotBeParsedFailsAndStays)
{
    support::writeFile(stateFile, "{ torn");
    EXPECT_EQ(bmc.saveVersionStringFromInfo("a", "1"), -1);
    EXPECT_EQ(bmc.deleteVersionStringFromInfo("a"), -1);
    EXPECT_EQ(bmc.getVersionStringFromInfo("a"), "");
    EXPECT_EQ(support::readFile(stateFile), "{ torn");
    EXPECT_TRUE(logged().empty());
}

TEST_F(VersionStore, ValueThatTheStoreRefusesFailsTheSave)
{
    EXPECT_EQ(bmc.saveVersionStringFromInfo("a", "\xff"), -1);
    EXPECT_FALSE(fs::exists(stateFile));
    support::writeFile(stateFile, R"({"BMC":7})");
    EXPECT_EQ(bmc.saveVersionStringFromInfo("a", "1"), -1);
    EXPECT_EQ(support::readFile(stateFile), R"({"BMC":7})");
    EXPECT_TRUE(logged().empty());
}

TEST_F(VersionStore, ANulEndsKeyAndValue)
{
    using namespace std::string_literals;
    EXPECT_EQ(bmc.saveVersionStringFromInfo("a\0x"s, "1\0y"s), 0);
    EXPECT_EQ(bmc.getVersionStringFromInfo("a"), "1");
}

TEST_F(VersionStore, FileInPlaceOfTheDirectoryIsAnAbsentStateFile)
{
    support::writeFile("/usr/share/firmware", "no directory");
    EXPECT_EQ(bmc.getVersionStringFromInfo("a"), "");
    EXPECT_EQ(bmc.saveVersionStringFromInfo("a", "1"), -1);
    EXPECT_EQ(bmc.deleteVersionStringFromInfo("a"), -1);
    EXPECT_EQ(support::readFile("/usr/share/firmware"), "no directory");
}

TEST_F(VersionStore, NothingStaysOpen)
{
    const auto openFiles = [] {
        return support::namesIn("/proc/self/fd").size();
    };
    const auto before = openFiles();
    bmc.saveVersionStringFromInfo("a", "1");
    bmc.getVersionStringFromInfo("a");
    bmc.deleteVersionStringFromInfo("a");
    support::writeFile(stateFile, "{ torn");
    bmc.saveVersionStringFromInfo("a", "1");
    bmc.getVersionStringFromInfo("a");
    bmcReleaseFileItemSet("/etc/bios-release", "A", "1");
    EXPECT_EQ(openFiles(), before);
}

TEST_F(VersionStore, LockThatCannotBeTakenFails)
{
    ASSERT_EQ(bmc.saveVersionStringFromInfo("a", "1"), 0);
    fs::remove(stateLock);
    fs::create_directories(stateLock);
    EXPECT_EQ(bmc.saveVersionStringFromInfo("a", "2"), -1);
    EXPECT_EQ(bmc.deleteVersionStringFromInfo("a"), -1);
    EXPECT_EQ(bmc.getVersionStringFromInfo("a"), "");
    fs::remove(stateLock);
    EXPECT_EQ(bmc.getVersionStringFromInfo("a"), "1");
}

TEST_F(VersionStore, FullDiskFailsTheSaveAndTheDeletion)
{
    fs::create_directories("/usr/share/firmware");
    const auto disk = support::Mount::tmpfs("/usr/share/firmware", 64 * 1024);
    ASSERT_EQ(bmc.saveVersionStringFromInfo("a", "old"), 0);
    const auto filler = support::fillUp("/usr/share/firmware");

    EXPECT_EQ(bmc.saveVersionStringFromInfo("a", "new"), -1);
    EXPECT_NE(bmc.deleteVersionStringFromInfo("a"), 0);
    EXPECT_EQ(bmc.deleteVersionStringFromInfo("b"), 0);
    EXPECT_EQ(bmc.getVersionStringFromInfo("a"), "old");

    fs::remove(filler);
    EXPECT_EQ(bmc.saveVersionStringFromInfo("a", "new"), 0);
    EXPECT_EQ(bmc.getVersionStringFromInfo("a"), "new");
}

TEST_F(VersionStore, ReadOnlyStateDirectoryFailsTheSaveAndTheDeletion)
{
    ASSERT_EQ(bmc.saveVersionStringFromInfo("a", "old"), 0);
    const auto directory = support::Mount::onItself("/usr/share/firmware");
    directory.makeReadOnly();
    EXPECT_EQ(bmc.saveVersionStringFromInfo("a", "new"), -1);
    EXPECT_EQ(bmc.saveVersionStringFromInfo("a", "old"), 0);
    EXPECT_NE(bmc.deleteVersionStringFromInfo("a"), 0);
    EXPECT_EQ(bmc.getVersionStringFromInfo("a"), "old");
}

TEST_F(VersionStore, StateFileThatIsAMountPointFailsAndIsNotLost)
{
    ASSERT_EQ(bmc.saveVersionStringFromInfo("a", "old"), 0);
    const auto mounted = support::Mount::onItself(stateFile);
    EXPECT_EQ(bmc.saveVersionStringFromInfo("a", "new"), -1);
    EXPECT_NE(bmc.deleteVersionStringFromInfo("a"), 0);
    EXPECT_EQ(bmc.getVersionStringFromInfo("a"), "old");
}

TEST_F(VersionStore, FilesFromBeyondTheTimesOf32BitsAreReadAndReplaced)
{
    ASSERT_EQ(bmc.saveVersionStringFromInfo("version", "1.0"), 0);
    for (const auto* const path :
         {stateFile, "/usr/share/firmware", "/run/lock/firmware",
          "/run/lock/firmware/version.lock"})
    {
        support::setYear2040(path);
    }
    EXPECT_EQ(bmc.getVersionStringFromInfo("version"), "1.0");
    EXPECT_EQ(bmc.saveVersionStringFromInfo("version", "2.0"), 0);
    EXPECT_EQ(bmc.getVersionStringFromInfo("version"), "2.0");
    support::setYear2040(stateFile);
    EXPECT_EQ(bmc.deleteVersionStringFromInfo("version"), 0);
}

TEST_F(VersionStore, StatusThatCannotBeReadLeavesTheRead)
{
    fs::create_directories("/usr/share/firmware");
    fs::create_symlink("version.json", stateFile);
    EXPECT_THROW(bmc.getVersionStringFromInfo("a"), fs::filesystem_error);
    EXPECT_EQ(bmc.saveVersionStringFromInfo("a", "1"), -1);
    EXPECT_EQ(bmc.deleteVersionStringFromInfo("a"), -1);
}

TEST_F(VersionStore, UserWithoutRightsReadsAndChangesNothing)
{
    constexpr int noOtherUser = 2;
    ASSERT_EQ(bmc.saveVersionStringFromInfo("a", "1"), 0);
    const std::string before = support::readFile(stateFile);
    support::Child child([] {
        constexpr uid_t nobody = 65534;
        if (::setresgid(nobody, nobody, nobody) != 0 ||
            ::setresuid(nobody, nobody, nobody) != 0)
        {
            return noOtherUser;
        }
        FwManager manager("BMC");
        EXPECT_EQ(manager.saveVersionStringFromInfo("a", "2"), -1);
        EXPECT_EQ(manager.deleteVersionStringFromInfo("a"), -1);
        EXPECT_EQ(manager.getVersionStringFromInfo("a"), "");
        return testing::Test::HasFailure() ? 1 : 0;
    });
    const int status = child.wait();
    if (status == noOtherUser)
    {
        GTEST_SKIP() << "only root has other users";
    }
    EXPECT_EQ(status, 0);
    EXPECT_EQ(support::readFile(stateFile), before);
    EXPECT_FALSE(fs::exists("/usr/share/firmware/version.json.tmp"));
}

TEST_F(VersionStore, HostileNamesHarmNoOtherFirmware)
{
    ASSERT_EQ(bmc.saveVersionStringFromInfo("a", "1"), 0);
    for (const std::string name :
         {"", "../x", "a/b", "line\nbreak", "\": {\"BMC\": \"planted", "%s%n"})
    {
        FwManager other(name);
        EXPECT_EQ(other.saveVersionStringFromInfo(name, name), 0);
        EXPECT_EQ(other.getVersionStringFromInfo(name), name);
        EXPECT_EQ(bmc.getVersionStringFromInfo("a"), "1");
    }
    FwManager invalid("\xff");
    EXPECT_EQ(invalid.saveVersionStringFromInfo("a", "2"), -1);
    EXPECT_EQ(bmc.getVersionStringFromInfo("a"), "1");
    EXPECT_EQ(support::namesIn("/usr/share/firmware"),
              std::vector<std::string>{"version.json"});
}

TEST_F(VersionStore, EveryOperationWaitsForTheLock)
{
    ASSERT_EQ(bmc.saveVersionStringFromInfo("a", "1"), 0);
    const std::vector<std::function<int()>> operations = {
        [&] { return bmc.saveVersionStringFromInfo("b", "2"); },
        [&] { return bmc.deleteVersionStringFromInfo("b"); },
        [&] { return bmc.getVersionStringFromInfo("a") == "1" ? 0 : 1; }};
    for (const auto& operation : operations)
    {
        const support::Gate held;
        const support::Gate letGo;
        support::Child holder([&] {
            auto* const lock = json_config_load(stateFile, stateLock, 0);
            held.open();
            const bool passed = letGo.pass();
            return json_config_release(lock) == 0 && passed ? 0 : 1;
        });
        ASSERT_TRUE(held.pass());
        support::Child waiter(operation);
        EXPECT_TRUE(waiter.waitsForLock());
        letGo.open();
        EXPECT_EQ(holder.wait(), 0);
        EXPECT_EQ(waiter.wait(), 0);
    }
}

} // namespace
