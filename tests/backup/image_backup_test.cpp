// SPDX-License-Identifier: Apache-2.0
#include "support/cancelled.hpp"
#include "support/checked.hpp"
#include "support/descriptor.hpp"
#include "support/library_test.hpp"

#include <libfenmarch.hpp>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <tuple>

namespace
{

using namespace phosphor::software::updater;
namespace fs = std::filesystem;
using support::errorRecord;
using support::infoRecord;
using Names = std::vector<std::string>;
using Versions = std::pair<std::string, std::string>;

class ImageBackup : public support::LibraryTest
{
  public:
    ImageBackup()
    {
        configure(root);
    }

    void configure(const std::string& backupRoot,
                   const std::string& mounts = "")
    {
        support::writeFile(
            configFile, R"({"BIOS":{"updateable":"yes","image_backup_path":")" +
                            backupRoot + R"(","image_backup_mount":")" +
                            mounts + R"("}})");
        logged();
    }

    /** A new image arrives in the source directory. */
    void receive(const std::string& image) const
    {
        support::writeFile(source / "firmware.tar", image);
    }

    /** Runs an operation of a manager of its own. */
    template <typename Operation>
    void bios(Operation operation)
    {
        FwManager manager("BIOS");
        logged();
        operation(manager);
    }

    void backUp(const std::string& version)
    {
        bios([&](auto& manager) { manager.backupImage(source, version); });
    }

    void verify(const std::string& running)
    {
        bios([&](auto& manager) { manager.verifyBackupImage(running); });
    }

    /** Both versions, "untouched" where one was not written. */
    Versions versions()
    {
        Versions result{"untouched", "untouched"};
        bios([&](auto& manager) {
            manager.getBackupImageVersion(result.first, result.second);
        });
        return result;
    }

    support::ScratchDirectory scratch;
    const fs::path source = scratch.path / "incoming";
    const fs::path root = scratch.path / "backup";
    const fs::path verifying = root / "BIOS" / "verifying";
    const fs::path verified = root / "BIOS" / "verified";
};

TEST_F(ImageBackup, ImageIsMovedIntoTheVerifyingSlot)
{
    const std::string image(3'000'000, '\xa5');
    receive(image);
    backUp("1.0");
    EXPECT_EQ(support::readFile(verifying / "firmware.tar"), image);
    EXPECT_EQ(support::readFile(verifying / "version"), "1.0");
    EXPECT_EQ(support::namesIn(verifying), (Names{"firmware.tar", "version"}));
    EXPECT_EQ(support::namesIn(source), Names{});
    EXPECT_FALSE(fs::exists(verified));
    EXPECT_TRUE(logged().empty());
}

TEST_F(ImageBackup, RootWithASlashGivesTheSamePaths)
{
    configure(root.string() + "/");
    receive("image");
    backUp("1.0");
    EXPECT_TRUE(fs::exists(verifying / "firmware.tar"));
    bios([&](auto& manager) {
        EXPECT_EQ(manager.getVerifiedBackupImagePath(), verified.string());
    });
}

TEST_F(ImageBackup, OtherFilesOfTheSourceStay)
{
    receive("image");
    support::writeFile(source / "MANIFEST", "text");
    backUp("1.0");
    EXPECT_EQ(support::namesIn(source), Names{"MANIFEST"});
    EXPECT_EQ(support::namesIn(verifying), (Names{"firmware.tar", "version"}));
}

TEST_F(ImageBackup, VersionIsWrittenExactly)
{
    for (const std::string version : {" 1.2 beta\n", "", "1.0"})
    {
        receive("image");
        backUp(version);
        EXPECT_EQ(support::readFile(verifying / "version"), version);
    }
}

TEST_F(ImageBackup, SecondBackupWipesTheFirst)
{
    receive("first");
    backUp("1.0");
    support::writeFile(verifying / "deep" / "left", "over");
    receive("second");
    backUp("2.0");
    EXPECT_EQ(support::readFile(verifying / "firmware.tar"), "second");
    EXPECT_EQ(support::readFile(verifying / "version"), "2.0");
    EXPECT_EQ(support::namesIn(verifying), (Names{"firmware.tar", "version"}));
}

TEST_F(ImageBackup, SourceWithoutAnImageGivesASlotWithJustTheVersion)
{
    receive("first");
    backUp("1.0");
    backUp("2.0");
    EXPECT_EQ(support::namesIn(verifying), Names{"version"});
    EXPECT_EQ(support::readFile(verifying / "version"), "2.0");
    EXPECT_TRUE(logged().empty());
}

TEST_F(ImageBackup, MissingSourceIsLoggedAndChangesNothing)
{
    receive("first");
    backUp("1.0");
    fs::remove_all(source);
    backUp("2.0");
    EXPECT_EQ(
        logged(),
        std::vector{errorRecord(
            "BIOS: Backup firmware src path not exists " + source.string(),
            "{NAME}: Backup firmware src path not exists {PATH}",
            {{"NAME", "BIOS"}, {"PATH", source.string()}})});
    EXPECT_EQ(versions(), (Versions{"1.0", "untouched"}));
}

TEST_F(ImageBackup, MissingSourceComesBeforeTheMissingArea)
{
    configure("");
    backUp("1.0");
    const auto records = logged();
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].at("LOG2_FMTMSG"),
              "{NAME}: Backup firmware src path not exists {PATH}");
}

TEST_F(ImageBackup, MissingAreaIsLoggedAndChangesNothing)
{
    configure("");
    receive("image");
    backUp("1.0");
    EXPECT_EQ(logged(),
              std::vector{errorRecord(
                  "BIOS: Backup firmware dest path not exists ",
                  "{NAME}: Backup firmware dest path not exists {PATH}",
                  {{"NAME", "BIOS"}, {"PATH", ""}})});
    EXPECT_EQ(support::readFile(source / "firmware.tar"), "image");
}

TEST_F(ImageBackup, AbsentMountMakesTheAreaUnusable)
{
    receive("first");
    backUp("1.0");
    const std::string here = scratch.path;
    configure(root, here + "," + here + "/absent");
    receive("second");
    backUp("2.0");
    const auto records = logged();
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].at("MESSAGE"),
              "BIOS: Backup firmware dest path not exists ");
    verify("1.0");
    EXPECT_TRUE(logged().empty());
    EXPECT_EQ(versions(), (Versions{"untouched", "untouched"}));
    bios([&](auto& manager) {
        EXPECT_EQ(manager.getVerifiedBackupImagePath(), "");
    });
    EXPECT_EQ(support::readFile(verifying / "version"), "1.0");
    EXPECT_EQ(support::readFile(source / "firmware.tar"), "second");
}

TEST_F(ImageBackup, MountWhoseStatusCannotBeReadLeavesAsAnException)
{
    receive("image");
    fs::create_symlink("loop", scratch.path / "loop");
    configure(root, (scratch.path / "loop").string() + "," + root.string());
    bios([&](auto& manager) {
        std::string first;
        std::string second;
        EXPECT_THROW(manager.backupImage(source, "1.0"), fs::filesystem_error);
        EXPECT_THROW(manager.verifyBackupImage("1.0"), fs::filesystem_error);
        EXPECT_THROW(manager.getVerifiedBackupImagePath(),
                     fs::filesystem_error);
        EXPECT_THROW(manager.getBackupImageVersion(first, second),
                     fs::filesystem_error);
    });
    EXPECT_EQ(support::readFile(source / "firmware.tar"), "image");
}

TEST_F(ImageBackup, SourceThatIsAFileRenewsTheSlotAllTheSame)
{
    receive("first");
    backUp("1.0");
    fs::remove_all(source);
    support::writeFile(source, "a file");
    backUp("2.0");
    EXPECT_EQ(support::namesIn(verifying), Names{"version"});
    EXPECT_EQ(support::readFile(verifying / "version"), "2.0");
    EXPECT_TRUE(logged().empty());
}

TEST_F(ImageBackup, ImageThatCannotBeRemovedIsNotOverwritten)
{
    receive("first");
    backUp("1.0");
    const auto image = support::Mount::onItself(verifying / "firmware.tar");
    receive("second");
    backUp("2.0");
    EXPECT_EQ(support::readFile(verifying / "firmware.tar"), "first");
    EXPECT_EQ(support::readFile(verifying / "version"), "2.0");
    EXPECT_FALSE(fs::exists(source / "firmware.tar"));
}

TEST_F(ImageBackup, FailuresDoNotStopWhatFollows)
{
    receive("image");
    support::writeFile(root, "a file where the area should be");
    backUp("1.0");
    EXPECT_FALSE(fs::exists(source / "firmware.tar"));
    EXPECT_EQ(support::readFile(root), "a file where the area should be");
    EXPECT_TRUE(logged().empty());
}

TEST_F(ImageBackup, CopyThatFailsStillRemovesTheImageAndWritesTheVersion)
{
    fs::create_directories(verifying);
    const auto disk = support::Mount::tmpfs(root, 64 * 1024);
    receive(std::string(1 << 20, 'x'));
    fs::create_directories(verifying);
    support::writeFile(verifying / "old", "old");
    backUp("1.0");
    EXPECT_FALSE(fs::exists(source / "firmware.tar"));
    EXPECT_GT(fs::file_size(verifying / "firmware.tar"), 0U);
    EXPECT_LE(fs::file_size(verifying / "firmware.tar"), 64U * 1024);
    EXPECT_TRUE(fs::exists(verifying / "version"));
    EXPECT_FALSE(fs::exists(verifying / "old"));
    EXPECT_TRUE(logged().empty());
}

TEST_F(ImageBackup, VersionThatCannotBeWrittenIsIgnored)
{
    constexpr size_t diskBytes = 64 * 1024;
    fs::create_directories(root);
    const auto disk = support::Mount::tmpfs(root, diskBytes);
    const std::string image(diskBytes, 'x');
    receive(image);
    backUp("1.0");
    EXPECT_EQ(support::readFile(verifying / "firmware.tar"), image);
    EXPECT_EQ(support::readFile(verifying / "version"), "");
    EXPECT_FALSE(fs::exists(source / "firmware.tar"));
    EXPECT_TRUE(logged().empty());
}

TEST_F(ImageBackup, RecordsNameTheCalledOperation)
{
    const auto functionOfTheRecord = [&] {
        const auto records = loggedWhole();
        EXPECT_EQ(records.size(), 1U);
        return records.empty() ? "" : records[0].at("CODE_FUNC");
    };
    backUp("1.0");
    EXPECT_NE(functionOfTheRecord().find("backupImage"), std::string::npos);
    receive("image");
    configure("");
    backUp("1.0");
    EXPECT_NE(functionOfTheRecord().find("backupImage"), std::string::npos);
    configure(root);
    backUp("1.0");
    verify("1.0");
    EXPECT_NE(functionOfTheRecord().find("verifyBackupImage"),
              std::string::npos);
}

TEST_F(ImageBackup, ReadOnlyAreaIsLeftAndTheImageIsRemovedAllTheSame)
{
    receive("first");
    backUp("1.0");
    const auto area = support::Mount::onItself(root);
    area.makeReadOnly();
    receive("second");
    backUp("2.0");
    verify("1.0");
    EXPECT_EQ(support::readFile(verifying / "firmware.tar"), "first");
    EXPECT_EQ(support::readFile(verifying / "version"), "1.0");
    EXPECT_FALSE(fs::exists(source / "firmware.tar"));
    EXPECT_FALSE(fs::exists(verified));
}

TEST_F(ImageBackup, DirectoryInPlaceOfTheImageIsNotCopied)
{
    support::writeFile(source / "firmware.tar" / "inner", "x");
    backUp("1.0");
    EXPECT_EQ(support::namesIn(verifying), Names{"version"});
    EXPECT_TRUE(fs::exists(source / "firmware.tar" / "inner"));
}

TEST_F(ImageBackup, RunningVersionPromotesTheSlot)
{
    receive("first");
    backUp("1.0");
    verify("1.0");
    EXPECT_EQ(
        logged(),
        std::vector{infoRecord(
            "BIOS: Verify backup firmware: 1.0 vs 1.0",
            "{NAME}: Verify backup firmware: {RUNNING} vs {VERIFYING}",
            {{"NAME", "BIOS"}, {"RUNNING", "1.0"}, {"VERIFYING", "1.0"}})});
    EXPECT_FALSE(fs::exists(verifying));
    EXPECT_EQ(support::readFile(verified / "firmware.tar"), "first");
    EXPECT_EQ(support::readFile(verified / "version"), "1.0");
}

TEST_F(ImageBackup, PromotionReplacesTheVerifiedSlotWhole)
{
    receive("first");
    backUp("1.0");
    verify("1.0");
    support::writeFile(verified / "left" / "over", "x");
    receive("second");
    backUp("2.0");
    EXPECT_EQ(versions(), (Versions{"2.0", "1.0"}));
    verify("2.0");
    EXPECT_EQ(support::readFile(verified / "firmware.tar"), "second");
    EXPECT_EQ(support::namesIn(verified), (Names{"firmware.tar", "version"}));
    EXPECT_EQ(versions(), (Versions{"untouched", "2.0"}));
}

TEST_F(ImageBackup, OtherRunningVersionLeavesBothSlots)
{
    receive("first");
    backUp("1.0");
    verify("1.0");
    receive("second");
    backUp("2.0");
    for (const std::string running : {"1.0", "2.", "2.0 ", "2.00", "", "2,0"})
    {
        verify(running);
        EXPECT_EQ(logged(),
                  std::vector{infoRecord(
                      "BIOS: Verify backup firmware: " + running + " vs 2.0",
                      "{NAME}: Verify backup firmware: {RUNNING} vs "
                      "{VERIFYING}",
                      {{"NAME", "BIOS"},
                       {"RUNNING", running},
                       {"VERIFYING", "2.0"}})});
        EXPECT_EQ(versions(), (Versions{"2.0", "1.0"}));
    }
}

TEST_F(ImageBackup, CaseOfTheVersionMatters)
{
    receive("image");
    backUp("1.0-RC");
    verify("1.0-rc");
    EXPECT_TRUE(fs::exists(verifying));
}

TEST_F(ImageBackup, VersionIsReadUpToItsFirstBlank)
{
    receive("image");
    backUp("1.2 beta");
    verify("1.2 beta");
    EXPECT_TRUE(fs::exists(verifying));
    EXPECT_EQ(versions(), (Versions{"1.2", "untouched"}));
    verify("1.2");
    EXPECT_FALSE(fs::exists(verifying));
    EXPECT_EQ(support::readFile(verified / "version"), "1.2 beta");
}

TEST_F(ImageBackup, VersionFileMayHaveALineEnd)
{
    support::writeFile(verifying / "version", "\n 1.0\n");
    EXPECT_EQ(versions(), (Versions{"1.0", "untouched"}));
    verify("1.0");
    EXPECT_TRUE(fs::exists(verified));
}

TEST_F(ImageBackup, SlotWithoutAVersionHasTheEmptyOne)
{
    fs::create_directories(verifying);
    verify("1.0");
    EXPECT_TRUE(fs::exists(verifying));
    logged();
    verify("");
    EXPECT_EQ(logged(),
              std::vector{infoRecord(
                  "BIOS: Verify backup firmware:  vs ",
                  "{NAME}: Verify backup firmware: {RUNNING} vs {VERIFYING}",
                  {{"NAME", "BIOS"}, {"RUNNING", ""}, {"VERIFYING", ""}})});
    EXPECT_FALSE(fs::exists(verifying));
    EXPECT_TRUE(fs::exists(verified));
}

TEST_F(ImageBackup, WithoutASlotVerifyingLogsNothing)
{
    verify("1.0");
    EXPECT_TRUE(logged().empty());
    EXPECT_FALSE(fs::exists(root));
}

TEST_F(ImageBackup, WithoutAnAreaTheOthersLogNothing)
{
    configure("");
    verify("1.0");
    EXPECT_TRUE(logged().empty());
    EXPECT_EQ(versions(), (Versions{"untouched", "untouched"}));
    bios([&](auto& manager) {
        EXPECT_EQ(manager.getVerifiedBackupImagePath(), "");
    });
    EXPECT_TRUE(logged().empty());
}

TEST_F(ImageBackup, VerifiedPathNeedsNoVerifiedImage)
{
    bios([&](auto& manager) {
        EXPECT_EQ(manager.getVerifiedBackupImagePath(), verified.string());
    });
    EXPECT_FALSE(fs::exists(verified));
}

TEST_F(ImageBackup, UnreadableVersionsLeaveTheArguments)
{
    EXPECT_EQ(versions(), (Versions{"untouched", "untouched"}));
    support::writeFile(verifying / "version", "");
    fs::create_directories(verified);
    EXPECT_EQ(versions(), (Versions{"untouched", "untouched"}));
    support::writeFile(verified / "version", " \n\t");
    EXPECT_EQ(versions(), (Versions{"untouched", "untouched"}));
    fs::remove(verified / "version");
    fs::create_directories(verified / "version");
    EXPECT_EQ(versions(), (Versions{"untouched", "untouched"}));
}

TEST_F(ImageBackup, SlotsAreReadIndependently)
{
    support::writeFile(verified / "version", "1.0");
    EXPECT_EQ(versions(), (Versions{"untouched", "1.0"}));
    support::writeFile(verifying / "version", "2.0");
    EXPECT_EQ(versions(), (Versions{"2.0", "1.0"}));
}

TEST_F(ImageBackup, StatusThatCannotBeReadLeavesAsAnException)
{
    fs::create_directories(root / "BIOS");
    fs::create_symlink("verifying", verifying);
    bios([&](auto& manager) {
        std::string first;
        std::string second;
        EXPECT_THROW(manager.verifyBackupImage("1.0"), fs::filesystem_error);
        EXPECT_THROW(manager.getBackupImageVersion(first, second),
                     fs::filesystem_error);
    });
    fs::remove(verifying);
    support::writeFile(verifying / "version", "2.0");
    fs::create_symlink("verified", verified);
    bios([&](auto& manager) {
        std::string first;
        std::string second;
        EXPECT_THROW(manager.getBackupImageVersion(first, second),
                     fs::filesystem_error);
        EXPECT_EQ(first, "2.0");
    });
    fs::create_symlink("loop", scratch.path / "loop");
    bios([&](auto& manager) {
        EXPECT_THROW(manager.backupImage(scratch.path / "loop", "1.0"),
                     fs::filesystem_error);
    });
    EXPECT_TRUE(logged().empty());
}

TEST_F(ImageBackup, SlotThatIsALinkIsReplacedAndNotFollowed)
{
    const fs::path elsewhere = scratch.path / "elsewhere";
    for (const auto& slot : {verifying, verified})
    {
        support::writeFile(elsewhere / "version", "not ours");
        fs::create_directories(slot.parent_path());
        fs::remove_all(slot);
        fs::create_directory_symlink(elsewhere, slot);
        receive("image");
        backUp("1.0");
        verify("1.0");
        EXPECT_FALSE(fs::is_symlink(slot));
        EXPECT_EQ(support::namesIn(elsewhere), Names{"version"});
        EXPECT_EQ(support::readFile(elsewhere / "version"), "not ours");
    }
    EXPECT_EQ(versions(), Versions("untouched", "1.0"));
}

TEST_F(ImageBackup, FifoInPlaceOfTheVersionDoesNotHang)
{
    fs::create_directories(verifying);
    ASSERT_EQ(::mkfifo((verifying / "version").c_str(), 0600), 0);
    EXPECT_EQ(versions(), Versions("untouched", "untouched"));
    verify("1.0");
    EXPECT_FALSE(fs::exists(verified));
    receive("image");
    backUp("1.0");
    EXPECT_EQ(versions(), Versions("1.0", "untouched"));
}

TEST_F(ImageBackup, FifoInPlaceOfTheVersionIsNotRead)
{
    fs::create_directories(verifying);
    const fs::path fifo = verifying / "version";
    support::checked(::mkfifo(fifo.c_str(), 0600), fifo);
    const support::Descriptor ends(
        support::checked(::open(fifo.c_str(), O_RDWR | O_CLOEXEC), fifo));
    support::checked(::write(ends.get(), "1.0\n", 4), fifo);
    EXPECT_EQ(versions(), Versions("untouched", "untouched"));
    int heldBytes = 0;
    support::checked(::ioctl(ends.get(), FIONREAD, &heldBytes), "FIONREAD");
    EXPECT_EQ(heldBytes, 4);
}

TEST_F(ImageBackup, NameIsAppendedAsItIs)
{
    const std::vector<std::pair<std::string, fs::path>> rows{
        {"", root},
        {".", root},
        {"..", scratch.path},
        {"../x", scratch.path / "x"},
        {"a/b", root / "a/b"},
        {"/etc", root / "etc"},
    };
    for (const auto& [name, directory] : rows)
    {
        support::writeFile(
            configFile, R"({")" + name +
                            R"(":{"updateable":"yes","image_backup_path":")" +
                            root.string() + "\"}}");
        receive("image of " + name);
        FwManager(name).backupImage(source, "1.0");
        EXPECT_EQ(support::readFile(directory / "verifying/firmware.tar"),
                  "image of " + name);
        EXPECT_EQ(support::readFile(directory / "verifying/version"), "1.0");
    }
}

TEST_F(ImageBackup, NameTooLongForAPathLosesTheImage)
{
    const std::string name(256, 'x');
    support::writeFile(configFile,
                       R"({")" + name +
                           R"(":{"updateable":"yes","image_backup_path":")" +
                           root.string() + "\"}}");
    receive("image");
    FwManager manager(name);
    manager.backupImage(source, "1.0");
    EXPECT_FALSE(fs::exists(source / "firmware.tar"));
    EXPECT_TRUE(support::namesIn(root).empty());
    EXPECT_THROW(manager.verifyBackupImage("1.0"), fs::filesystem_error);
}

TEST_F(ImageBackup, LinkAsTheImageIsCopiedThroughAndRemoved)
{
    const fs::path elsewhere = scratch.path / "elsewhere";
    support::writeFile(elsewhere, "not ours");
    fs::create_directories(source);
    fs::create_symlink(elsewhere, source / "firmware.tar");
    backUp("1.0");
    EXPECT_EQ(support::readFile(verifying / "firmware.tar"), "not ours");
    EXPECT_EQ(support::readFile(elsewhere), "not ours");
    EXPECT_FALSE(fs::is_symlink(source / "firmware.tar"));
}

TEST_F(ImageBackup, NewFilesHaveTheDefaultMode)
{
    for (const auto& [mask, directoryMode, fileMode] :
         {std::tuple{027U, 0750U, 0640U}, std::tuple{002U, 0775U, 0664U}})
    {
        fs::remove_all(root);
        receive("image");
        support::checked(::chmod((source / "firmware.tar").c_str(),
                                 S_ISUID | S_ISGID | 0777),
                         source);
        const mode_t before = ::umask(mask);
        backUp("1.0");
        ::umask(before);
        const auto modeOf = [](const fs::path& path) {
            return support::statusOf(path).st_mode & 07777U;
        };
        EXPECT_EQ(modeOf(verifying), directoryMode);
        EXPECT_EQ(modeOf(verifying / "firmware.tar"), fileMode);
        EXPECT_EQ(modeOf(verifying / "version"), fileMode);
    }
}

TEST_F(ImageBackup, EmptyDirectoryInPlaceOfTheImageIsRemoved)
{
    fs::create_directories(source / "firmware.tar");
    backUp("1.0");
    EXPECT_EQ(support::namesIn(verifying), Names{"version"});
    EXPECT_FALSE(fs::exists(source / "firmware.tar"));
}

TEST_F(ImageBackup, NothingButARegularFileIsOpenedAsTheImage)
{
    fs::create_directories(source);
    // It has no writer: opening it would wait for ever.
    const fs::path fifo = scratch.path / "fifo";
    support::checked(::mkfifo(fifo.c_str(), 0600), fifo);
    for (const fs::path& target : {fifo, fs::path("/dev/zero"), scratch.path})
    {
        fs::create_symlink(target, source / "firmware.tar");
        backUp("1.0");
        EXPECT_EQ(support::namesIn(verifying), Names{"version"}) << target;
        EXPECT_FALSE(fs::is_symlink(source / "firmware.tar"));
        EXPECT_TRUE(fs::exists(target));
    }
}

TEST_F(ImageBackup, ImageThatTheKernelCannotSendIsCopied)
{
    fs::create_directories(source);
    fs::create_symlink("/proc/self/environ", source / "firmware.tar");
    backUp("1.0");
    EXPECT_EQ(support::readFile(verifying / "firmware.tar"),
              support::readFile("/proc/self/environ"));
}

TEST_F(ImageBackup, FilesFromBeyondTheTimesOf32BitsAreMovedAndPromoted)
{
    receive("first");
    backUp("1.0");
    verify("1.0");
    receive("second");
    for (const auto& path : {source / "firmware.tar", source, root,
                             root / "BIOS", verified, verified / "firmware.tar",
                             verified / "version", fs::path(configFile)})
    {
        support::setYear2040(path);
    }
    backUp("2.0");
    for (const auto& path : {verifying / "firmware.tar", verifying / "version",
                             verifying, root / "BIOS"})
    {
        support::setYear2040(path);
    }
    verify("2.0");
    EXPECT_EQ(versions(), Versions("untouched", "2.0"));
    EXPECT_EQ(support::readFile(verified / "firmware.tar"), "second");
    EXPECT_EQ(support::namesIn(source), Names{});
}

/** How much this process has read so far. */
std::uintmax_t readSoFarBytes()
{
    std::ifstream counters("/proc/self/io");
    std::string label;
    std::uintmax_t bytes = 0;
    counters >> label >> bytes;
    EXPECT_EQ(label, "rchar:");
    return bytes;
}

TEST_F(ImageBackup, VersionIsReadNoFurtherThanItsEnd)
{
    constexpr std::uintmax_t hugeBytes = std::uintmax_t{3} << 30;
    support::writeFile(verifying / "version", "\n 1.0\n");
    fs::resize_file(verifying / "version", hugeBytes);
    const auto before = readSoFarBytes();
    EXPECT_EQ(versions(), Versions("1.0", "untouched"));
    EXPECT_LT(readSoFarBytes() - before, 100'000U);
}

TEST_F(ImageBackup, WordThatDoesNotEndWithinAMebibyteIsNoVersion)
{
    constexpr size_t mebibyte = 1 << 20;
    const auto readable = [&](const std::string& content) {
        support::writeFile(verifying / "version", content);
        return versions().first != "untouched";
    };
    EXPECT_TRUE(readable(std::string(mebibyte, '1')));
    EXPECT_TRUE(readable(std::string(mebibyte, '1') + "\n2"));
    EXPECT_TRUE(readable(std::string(mebibyte - 1, ' ') + "1"));
    EXPECT_FALSE(readable(std::string(mebibyte + 1, '1')));
    EXPECT_FALSE(readable(std::string(mebibyte, ' ') + "1"));
    EXPECT_FALSE(readable(std::string(mebibyte - 1, ' ') + "12"));
    EXPECT_FALSE(readable(std::string(3 * mebibyte, ' ')));
}

TEST_F(ImageBackup, EveryKindOfBlankEndsAVersion)
{
    for (const std::string blank : {" ", "\t", "\n", "\v", "\f", "\r"})
    {
        support::writeFile(verifying / "version", blank + "1.0" + blank + "2");
        EXPECT_EQ(versions(), Versions("1.0", "untouched"));
    }
}

TEST_F(ImageBackup, DeviceInPlaceOfTheVersionIsUnreadable)
{
    fs::create_directories(verifying);
    fs::create_symlink("/dev/zero", verifying / "version");
    EXPECT_EQ(versions(), Versions("untouched", "untouched"));
}

TEST_F(ImageBackup, CancelledThreadEndsAfterTheOperation)
{
    receive("image");
    FwManager manager("BIOS");
    logged();
    Versions read;
    for (const std::function<void()>& operation :
         {std::function<void()>([&] { manager.backupImage(source, "1.0"); }),
          std::function<void()>([&] { manager.verifyBackupImage("1.0"); }),
          std::function<void()>(
              [&] { manager.getBackupImageVersion(read.first, read.second); })})
    {
        const auto outcome = support::runCancelled(operation);
        EXPECT_TRUE(outcome.workDone);
        EXPECT_TRUE(outcome.threadCancelled);
    }
    EXPECT_EQ(read, Versions("", "1.0"));
}

} // namespace
