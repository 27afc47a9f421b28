// SPDX-License-Identifier: Apache-2.0
#include "support/library_test.hpp"

#include <libfenmarch.hpp>

#include <filesystem>

namespace
{

using namespace phosphor::software::updater;
namespace fs = std::filesystem;

class BackupArea : public support::LibraryTest
{
  public:
    /** The status and the path of a manager with these two items. */
    std::pair<bool, std::string> area(const std::string& mounts,
                                      const std::string& path = "/mnt/backup/")
    {
        support::writeFile(configFile, R"({"BMC":{"updateable":"yes",)"
                                       R"("image_backup_mount":")" +
                                           mounts +
                                           R"(","image_backup_path":")" + path +
                                           R"("}})");
        FwManager manager("BMC");
        return {manager.getImageBackupMountStatus(),
                manager.getBackupImagePath()};
    }

    BackupArea()
    {
        fs::create_directory(present);
    }

    support::ScratchDirectory scratch;
    const std::string present = scratch.path / "present";
    const std::string absent = scratch.path / "absent";
};

const std::pair<bool, std::string> usable{true, "/mnt/backup/"};
const std::pair<bool, std::string> unusable{false, ""};

TEST_F(BackupArea, WithoutAConditionIsUsable)
{
    EXPECT_EQ(area(""), usable);
    support::writeFile(
        configFile,
        R"({"BMC":{"updateable":"yes","image_backup_path":"/mnt/backup/"}})");
    FwManager manager("BMC");
    EXPECT_TRUE(manager.getImageBackupMountStatus());
    EXPECT_EQ(manager.getBackupImagePath(), "/mnt/backup/");
}

TEST_F(BackupArea, OtherNumbersOfEntriesAreNoCondition)
{
    EXPECT_EQ(area(absent), usable);
    EXPECT_EQ(area(absent + "," + absent + "," + absent), usable);
    EXPECT_EQ(area(absent + "," + absent + ","), usable);
}

TEST_F(BackupArea, TwoEntriesMustBothExist)
{
    EXPECT_EQ(area(present + "," + present), usable);
    EXPECT_EQ(area(present + "," + absent), unusable);
    EXPECT_EQ(area(absent + "," + present), unusable);
    EXPECT_EQ(area(absent + "," + absent), unusable);
    EXPECT_EQ(area(","), unusable);
}

TEST_F(BackupArea, AnyKindOfFileCounts)
{
    support::writeFile(scratch.path / "file", "");
    EXPECT_EQ(area("/dev/null," + (scratch.path / "file").string()), usable);
}

TEST_F(BackupArea, LinksAreFollowed)
{
    const std::string link = scratch.path / "link";
    fs::create_symlink(absent, link);
    EXPECT_EQ(area(present + "," + link), unusable);
    fs::create_directory(absent);
    EXPECT_EQ(area(present + "," + link), usable);
}

TEST_F(BackupArea, WhatLiesBelowAFileIsAbsent)
{
    support::writeFile(scratch.path / "file", "");
    EXPECT_EQ(area(present + "," + (scratch.path / "file" / "x").string()),
              unusable);
}

TEST_F(BackupArea, StatusThatCannotBeReadLeavesAsAnException)
{
    const std::string loop = scratch.path / "loop";
    fs::create_symlink(loop, loop);
    for (const auto& mounts : {loop + "," + present, present + "," + loop})
    {
        support::writeFile(
            configFile, R"({"BMC":{"updateable":"yes","image_backup_mount":")" +
                            mounts + R"("}})");
        FwManager manager("BMC");
        EXPECT_THROW(manager.getImageBackupMountStatus(), fs::filesystem_error);
        EXPECT_THROW(manager.getBackupImagePath(), fs::filesystem_error);
    }
}

TEST_F(BackupArea, SecondEntryIsNotLookedAtAfterAnAbsentFirst)
{
    const std::string loop = scratch.path / "loop";
    fs::create_symlink(loop, loop);
    EXPECT_EQ(area(absent + "," + loop), unusable);
}

TEST_F(BackupArea, PathIsReturnedAsConfigured)
{
    EXPECT_EQ(area("", "/absent//x/"),
              std::pair(true, std::string("/absent//x/")));
    EXPECT_EQ(area(present + "," + present, ""),
              std::pair(true, std::string()));
    EXPECT_EQ(area("", ""), std::pair(true, std::string()));
}

TEST_F(BackupArea, WithoutAConfigurationTheConditionHoldsAndThereIsNoPath)
{
    FwManager manager("BMC");
    EXPECT_TRUE(manager.getImageBackupMountStatus());
    EXPECT_EQ(manager.getBackupImagePath(), "");
}

TEST_F(BackupArea, PathIsLoadedByItself)
{
    support::writeFile(
        configFile,
        R"({"BMC":{"updateable":"yes","image_backup_path":"/mnt/backup"}})");
    FwManager manager("BMC");
    EXPECT_EQ(manager.getBackupImagePath(), "/mnt/backup");
}

TEST_F(BackupArea, FileSystemIsAskedEachTime)
{
    support::writeFile(configFile, R"({"BMC":{"updateable":"yes",)"
                                   R"("image_backup_path":"/mnt/backup",)"
                                   R"("image_backup_mount":")" +
                                       present + "," + absent + R"("}})");
    FwManager manager("BMC");
    EXPECT_EQ(manager.getBackupImagePath(), "");
    fs::create_directory(absent);
    EXPECT_EQ(manager.getBackupImagePath(), "/mnt/backup");
    fs::remove(absent);
    EXPECT_EQ(manager.getBackupImagePath(), "");
    EXPECT_TRUE(logged().empty());
}

} // namespace
