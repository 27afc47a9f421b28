// SPDX-License-Identifier: Apache-2.0
#include "support/library_test.hpp"

#include <libfenmarch.hpp>

#include <filesystem>

namespace
{

using namespace phosphor::software::updater;
using support::infoRecord;

class UpdateRecords : public support::LibraryTest
{
  public:
    FwManager bmc{"BMC"};
    FwManager host{"Host"};
};

TEST_F(UpdateRecords, ReadAsNothingWithoutAStateFile)
{
    EXPECT_FALSE(bmc.readImageCheckResult());
    EXPECT_EQ(bmc.readUpdateState(), "");
    EXPECT_FALSE(std::filesystem::exists(stateFile));
    EXPECT_TRUE(logged().empty());
}

TEST_F(UpdateRecords, CheckResultIsKeptAsYesOrNo)
{
    EXPECT_EQ(bmc.saveImageCheckResult(true), 0);
    EXPECT_EQ(bmc.getVersionStringFromInfo("check_result"), "yes");
    EXPECT_TRUE(bmc.readImageCheckResult());

    EXPECT_EQ(bmc.saveImageCheckResult(false), 0);
    EXPECT_EQ(bmc.getVersionStringFromInfo("check_result"), "no");
    EXPECT_FALSE(bmc.readImageCheckResult());
}

TEST_F(UpdateRecords, OnlyExactlyYesIsTrue)
{
    for (const auto* const text :
         {"Yes", "YES", "y", "1", "true", "oui", "yes ", " yes", "yes\n", ""})
    {
        ASSERT_EQ(bmc.saveVersionStringFromInfo("check_result", text), 0);
        EXPECT_FALSE(bmc.readImageCheckResult()) << text;
    }
}

TEST_F(UpdateRecords, UpdateStateIsKeptAsGiven)
{
    for (const std::string state : {"idle", " Updating, 50% \xc3\xa4", ""})
    {
        EXPECT_EQ(bmc.saveUpdateState(state), 0);
        EXPECT_EQ(bmc.readUpdateState(), state);
        EXPECT_EQ(bmc.getVersionStringFromInfo("update_state"), state);
    }
}

TEST_F(UpdateRecords, SavesAreLogged)
{
    bmc.saveImageCheckResult(true);
    host.saveImageCheckResult(false);
    bmc.saveUpdateState("staged");
    EXPECT_EQ(
        logged(),
        (std::vector{infoRecord("BMC: Save image check result to yes",
                                "{NAME}: Save image check result to {RESULT}",
                                {{"NAME", "BMC"}, {"RESULT", "yes"}}),
                     infoRecord("Host: Save image check result to no",
                                "{NAME}: Save image check result to {RESULT}",
                                {{"NAME", "Host"}, {"RESULT", "no"}}),
                     infoRecord("BMC: Save update state to staged",
                                "{NAME}: Save update state to {ACTIVE}",
                                {{"NAME", "BMC"}, {"ACTIVE", "staged"}})}));
}

TEST_F(UpdateRecords, SaveThatFailsIsLoggedOnceAndReported)
{
    support::writeFile(stateFile, "{ torn");
    EXPECT_EQ(bmc.saveImageCheckResult(true), -1);
    EXPECT_EQ(bmc.saveUpdateState("idle"), -1);
    EXPECT_FALSE(bmc.readImageCheckResult());
    EXPECT_EQ(bmc.readUpdateState(), "");
    EXPECT_EQ(
        logged(),
        (std::vector{infoRecord("BMC: Save image check result to yes",
                                "{NAME}: Save image check result to {RESULT}",
                                {{"NAME", "BMC"}, {"RESULT", "yes"}}),
                     infoRecord("BMC: Save update state to idle",
                                "{NAME}: Save update state to {ACTIVE}",
                                {{"NAME", "BMC"}, {"ACTIVE", "idle"}})}));
}

TEST_F(UpdateRecords, FirmwaresDoNotAffectEachOther)
{
    ASSERT_EQ(bmc.saveImageCheckResult(true), 0);
    ASSERT_EQ(host.saveImageCheckResult(false), 0);
    ASSERT_EQ(bmc.saveUpdateState("active"), 0);
    EXPECT_TRUE(bmc.readImageCheckResult());
    EXPECT_FALSE(host.readImageCheckResult());
    EXPECT_EQ(host.readUpdateState(), "");
}

TEST_F(UpdateRecords, StatusThatCannotBeReadLeavesTheReads)
{
    std::filesystem::create_directories("/usr/share/firmware");
    std::filesystem::create_symlink("version.json", stateFile);
    EXPECT_THROW(bmc.readImageCheckResult(), std::filesystem::filesystem_error);
    EXPECT_THROW(bmc.readUpdateState(), std::filesystem::filesystem_error);
}

} // namespace
