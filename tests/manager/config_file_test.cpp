// SPDX-License-Identifier: Apache-2.0
#include "support/child.hpp"
#include "support/library_test.hpp"

#include <libfenmarch.hpp>

#include <sys/stat.h>

namespace
{

using namespace phosphor::software::updater;
using Strings = std::vector<std::string>;

using ConfigFile = support::LibraryTest;

void expectEmpty(FwManager& manager)
{
    EXPECT_FALSE(manager.isConfig());
    EXPECT_FALSE(manager.getUpdateable());
    EXPECT_EQ(manager.getWorkMode(), "");
    EXPECT_EQ(manager.getImageList(), Strings{});
    EXPECT_EQ(manager.getImageBackupMount(), Strings{});
    EXPECT_EQ(manager.getOptions(), Strings{});
    EXPECT_EQ(manager.getApplyTimeOptions(), Strings{});
    EXPECT_EQ(manager.getProcGetVersion(), "");
    EXPECT_EQ(manager.getProcImageCheck(), "");
    EXPECT_EQ(manager.getProcUpdate(), "");
    EXPECT_EQ(manager.getProcActive(), "");
    EXPECT_EQ(manager.getProcPowerUp(), "");
    EXPECT_EQ(manager.getProcPowerDown(), "");
}

constexpr auto fullRecord = R"({
    "BMC": {"updateable": "no"},
    "Host": {
        "updateable": "yes",
        "work_mode": "the work mode",
        "image_backup_path": "/mnt/backup",
        "get_version_proc": "the version",
        "image_check_proc": "the check",
        "update_proc": "the update",
        "active_proc": "the activation",
        "power_up_proc": "the power-up",
        "power_down_proc": "the power-down",
        "image_backup_mount": "/dev/a,/mnt/a",
        "image_list": "x, y",
        "options": "a,,b,",
        "apply_time_options": "Immediate,OnReset"
    }
})";

void expectFull(FwManager& manager)
{
    EXPECT_TRUE(manager.isConfig());
    EXPECT_TRUE(manager.getUpdateable());
    EXPECT_EQ(manager.getWorkMode(), "the work mode");
    EXPECT_EQ(manager.getImageList(), (Strings{"x", " y"}));
    EXPECT_EQ(manager.getImageBackupMount(), (Strings{"/dev/a", "/mnt/a"}));
    EXPECT_EQ(manager.getOptions(), (Strings{"a", "", "b", ""}));
    EXPECT_EQ(manager.getApplyTimeOptions(), (Strings{"Immediate", "OnReset"}));
    EXPECT_EQ(manager.getProcGetVersion(), "the version");
    EXPECT_EQ(manager.getProcImageCheck(), "the check");
    EXPECT_EQ(manager.getProcUpdate(), "the update");
    EXPECT_EQ(manager.getProcActive(), "the activation");
    EXPECT_EQ(manager.getProcPowerUp(), "the power-up");
    EXPECT_EQ(manager.getProcPowerDown(), "the power-down");
}

TEST_F(ConfigFile, EveryItemOfTheRecordIsRead)
{
    support::writeFile(configFile, fullRecord);
    FwManager manager(VersionPurpose::Host);
    expectFull(manager);
    EXPECT_TRUE(logged().empty());
}

TEST_F(ConfigFile, EachAccessorLoadsByItself)
{
    support::writeFile(configFile, fullRecord);
    const auto fresh = [](auto accessor) {
        FwManager manager("Host");
        return (manager.*accessor)();
    };
    EXPECT_TRUE(fresh(&FwManager::isConfig));
    EXPECT_TRUE(fresh(&FwManager::getUpdateable));
    EXPECT_EQ(fresh(&FwManager::getWorkMode), "the work mode");
    EXPECT_EQ(fresh(&FwManager::getImageList).size(), 2U);
    EXPECT_EQ(fresh(&FwManager::getImageBackupMount).size(), 2U);
    EXPECT_EQ(fresh(&FwManager::getOptions).size(), 4U);
    EXPECT_EQ(fresh(&FwManager::getApplyTimeOptions).size(), 2U);
    EXPECT_EQ(fresh(&FwManager::getProcGetVersion), "the version");
    EXPECT_EQ(fresh(&FwManager::getProcImageCheck), "the check");
    EXPECT_EQ(fresh(&FwManager::getProcUpdate), "the update");
    EXPECT_EQ(fresh(&FwManager::getProcActive), "the activation");
    EXPECT_EQ(fresh(&FwManager::getProcPowerUp), "the power-up");
    EXPECT_EQ(fresh(&FwManager::getProcPowerDown), "the power-down");
}

TEST_F(ConfigFile, RecordIsTheOneOfTheName)
{
    support::writeFile(configFile, R"({
        "Unknown": {"updateable": "yes", "work_mode": "of unknown"},
        "BMC": {"updateable": "yes", "work_mode": "of the BMC"},
        "BIOS": {"updateable": "yes", "work_mode": "of the BIOS"}})");
    FwManager byDefault;
    EXPECT_EQ(byDefault.getWorkMode(), "of unknown");
    FwManager byPurpose(VersionPurpose::BMC);
    FwManager byName("BMC");
    EXPECT_EQ(byPurpose.getWorkMode(), "of the BMC");
    EXPECT_EQ(byName.getWorkMode(), "of the BMC");
    FwManager component("BIOS");
    EXPECT_EQ(component.getWorkMode(), "of the BIOS");
}

TEST_F(ConfigFile, UpdateableAloneConfigures)
{
    support::writeFile(configFile, R"({"BMC":{"updateable":"yes"}})");
    FwManager manager("BMC");
    EXPECT_TRUE(manager.isConfig());
    EXPECT_TRUE(manager.getUpdateable());
    EXPECT_EQ(manager.getWorkMode(), "");
    EXPECT_EQ(manager.getImageList(), Strings{""});
    EXPECT_EQ(manager.getImageBackupMount(), Strings{""});
    EXPECT_EQ(manager.getOptions(), Strings{""});
    EXPECT_EQ(manager.getApplyTimeOptions(), Strings{"OnStartUpdateRequest"});
    EXPECT_EQ(manager.getProcGetVersion(), "");
    EXPECT_EQ(manager.getProcImageCheck(), "");
    EXPECT_EQ(manager.getProcUpdate(), "");
    EXPECT_EQ(manager.getProcActive(), "");
    EXPECT_EQ(manager.getProcPowerUp(), "");
    EXPECT_EQ(manager.getProcPowerDown(), "");
}

TEST_F(ConfigFile, EmptyApplyTimeOptionsAreNotReplaced)
{
    support::writeFile(
        configFile, R"({"BMC":{"updateable":"yes","apply_time_options":""}})");
    FwManager manager("BMC");
    EXPECT_EQ(manager.getApplyTimeOptions(), Strings{""});
}

TEST_F(ConfigFile, OnlyExactlyYesIsUpdateable)
{
    for (const std::string text :
         {"no", "Yes", "YES", "true", "1", " yes", "yes ", "y"})
    {
        support::writeFile(configFile, R"({"BMC":{"updateable":")" + text +
                                           R"(","work_mode":"read"}})");
        FwManager manager("BMC");
        EXPECT_TRUE(manager.isConfig()) << text;
        EXPECT_FALSE(manager.getUpdateable()) << text;
        EXPECT_EQ(manager.getWorkMode(), "read") << text;
    }
}

TEST_F(ConfigFile, WithoutAUsableFlagNothingIsReadAndNotAgain)
{
    for (const auto* const record :
         {R"({"BMC":{"updateable":"","work_mode":"x","options":"a"}})",
          R"({"BMC":{"work_mode":"x","options":"a"}})",
          R"({"BMC":{"updateable":true,"work_mode":"x"}})",
          R"({"Host":{"updateable":"yes"}})", R"({"BMC":"yes"})", "{}"})
    {
        support::writeFile(configFile, record);
        FwManager manager("BMC");
        expectEmpty(manager);
        support::writeFile(configFile, R"({"BMC":{"updateable":"yes"}})");
        expectEmpty(manager);
    }
    EXPECT_TRUE(logged().empty());
}

TEST_F(ConfigFile, MissingFileIsLookedForAgain)
{
    FwManager manager("Host");
    expectEmpty(manager);
    support::writeFile(configFile, fullRecord);
    expectFull(manager);
    EXPECT_TRUE(logged().empty());
}

TEST_F(ConfigFile, UnusableFileIsLookedAtAgain)
{
    FwManager manager("Host");
    for (const auto* const content : {"", "{", "[]", R"({"a":1,"a":1})"})
    {
        support::writeFile(configFile, content);
        expectEmpty(manager);
    }
    support::writeFile(configFile, fullRecord);
    expectFull(manager);
    EXPECT_TRUE(logged().empty());
}

TEST_F(ConfigFile, FileThatCannotBeLookedForIsLookedForAgain)
{
    FwManager manager("Host");
    std::filesystem::create_directories("/etc/default/firmware");
    std::filesystem::create_symlink("config.json", configFile);
    expectEmpty(manager);
    std::filesystem::remove(configFile);
    support::writeFile(configFile, fullRecord);
    expectFull(manager);
}

TEST_F(ConfigFile, FileFromBeyondTheTimesOf32BitsIsRead)
{
    support::writeFile(configFile, R"({"BMC":{"updateable":"yes"}})");
    support::setYear2040(configFile);
    EXPECT_TRUE(FwManager("BMC").isConfig());
}

TEST_F(ConfigFile, OnceReadItNeverChanges)
{
    support::writeFile(configFile, fullRecord);
    FwManager manager("Host");
    manager.loadConfigContent();
    std::filesystem::remove(configFile);
    expectFull(manager);
    support::writeFile(configFile, R"({"Host":{"updateable":"no"}})");
    expectFull(manager);
}

TEST_F(ConfigFile, IsReadWithoutALockAndNotWritten)
{
    support::writeFile(configFile, fullRecord);
    const auto before = support::statusOf(configFile);
    FwManager manager("Host");
    manager.loadConfigContent();
    EXPECT_TRUE(support::untouched(before, support::statusOf(configFile)));
    EXPECT_EQ(support::namesIn("/etc/default/firmware"),
              Strings{"config.json"});
    EXPECT_FALSE(std::filesystem::exists("/run/lock/firmware"));
}

TEST_F(ConfigFile, ValueIsReadUpTo255Bytes)
{
    const std::string fits(255, 'v');
    for (const auto* const more : {"", "w", "wwwwwwwwwwwww"})
    {
        support::writeFile(configFile,
                           R"({"BMC":{"updateable":"yes","work_mode":")" +
                               fits + more + R"("}})");
        FwManager manager("BMC");
        EXPECT_EQ(manager.getWorkMode(), fits);
    }
}

TEST_F(ConfigFile, ItemThatIsNoStringIsMissing)
{
    support::writeFile(configFile, R"({"BMC":{"updateable":"yes",
        "work_mode":1,"options":["a"],"apply_time_options":null}})");
    FwManager manager("BMC");
    EXPECT_EQ(manager.getWorkMode(), "");
    EXPECT_EQ(manager.getOptions(), Strings{""});
    EXPECT_EQ(manager.getApplyTimeOptions(), Strings{"OnStartUpdateRequest"});
}

} // namespace
