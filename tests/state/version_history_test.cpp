// SPDX-License-Identifier: Apache-2.0
#include "support/library_test.hpp"
#include "support/thrown.hpp"

#include <libfenmarch.hpp>
#include <sdbusplus/exception.hpp>

#include <cstdlib>
#include <stdexcept>

namespace
{

using namespace phosphor::software::updater;
using support::Answer;
using support::errorRecord;
using support::infoRecord;
using support::RecordedCall;

class VersionHistory : public support::BusTest
{
  public:
    void saveHistory(FwManager& manager, const std::string& activation,
                     int entries)
    {
        for (int i = 0; i < entries; ++i)
        {
            EXPECT_EQ(
                manager.saveVersion(activation, i, "v" + std::to_string(i)), 0);
        }
        EXPECT_EQ(manager.saveVersionCount(activation, entries), 0);
        logged();
    }

    FwManager host{"Host"};
    FwManager bmc{"BMC"};
};

const RecordedCall deleteStagedCall{
    .destination = "xyz.openbmc_project.Software.BMC.Updater",
    .path = "/xyz/openbmc_project/software/bios_staged",
    .interface = "xyz.openbmc_project.Object.Delete",
    .member = "Delete",
    .signature = "",
    .arguments = "",
    .replyExpected = true,
    .autoStart = true};

TEST_F(VersionHistory, IsKeptInRecordsOfTheFirmware)
{
    EXPECT_EQ(host.saveVersion("Staged", 0, "1.0"), 0);
    EXPECT_EQ(host.saveVersion("Staged", 12, "2.0"), 0);
    EXPECT_EQ(host.saveVersion("Staged", -3, "3.0"), 0);
    EXPECT_EQ(host.saveVersionCount("Staged", 13), 0);
    EXPECT_EQ(support::readFile(stateFile), R"({
    "Host": {
        "Staged_0": "1.0",
        "Staged_12": "2.0",
        "Staged_-3": "3.0",
        "Staged_count": "13"
    }
}
)");
    EXPECT_EQ(host.getVersion("Staged", 0), "1.0");
    EXPECT_EQ(host.getVersion("Staged", 12), "2.0");
    EXPECT_EQ(host.getVersion("Staged", -3), "3.0");
    EXPECT_EQ(host.getVersionCount("Staged"), 13);
    EXPECT_TRUE(services.takeCalls().empty());
}

TEST_F(VersionHistory, SavesAreLogged)
{
    host.saveVersionCount("Staged", 2);
    host.saveVersion("Active", 7, "1.0");
    EXPECT_EQ(logged(),
              (std::vector{
                  infoRecord(
                      "Host: Save Staged version count to 2",
                      "{NAME}: Save {ACTIVE} version count to {COUNT}",
                      {{"NAME", "Host"}, {"ACTIVE", "Staged"}, {"COUNT", "2"}}),
                  infoRecord("Host: Save Active version_7 1.0",
                             "{NAME}: Save {ACTIVE} version_{SEQ} {VERSION}",
                             {{"NAME", "Host"},
                              {"ACTIVE", "Active"},
                              {"SEQ", "7"},
                              {"VERSION", "1.0"}})}));
}

TEST_F(VersionHistory, ReadsAreNotLogged)
{
    saveHistory(host, "Staged", 1);
    host.getVersion("Staged", 0);
    host.getVersionCount("Staged");
    EXPECT_TRUE(logged().empty());
}

TEST_F(VersionHistory, SaveThatFailsIsLoggedOnceAndReported)
{
    support::writeFile(stateFile, "{ torn");
    EXPECT_EQ(host.saveVersionCount("Staged", 2), -1);
    EXPECT_EQ(host.saveVersion("Staged", 0, "1.0"), -1);
    const auto records = logged();
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].at("PRIORITY"), "6");
    EXPECT_EQ(records[1].at("PRIORITY"), "6");
}

TEST_F(VersionHistory, EntriesAndLengthAreIndependent)
{
    ASSERT_EQ(host.saveVersionCount("Staged", 1), 0);
    ASSERT_EQ(host.saveVersion("Staged", 5, "beyond"), 0);
    EXPECT_EQ(host.getVersionCount("Staged"), 1);
    EXPECT_EQ(host.getVersion("Staged", 0), "");
    EXPECT_EQ(host.getVersion("Staged", 5), "beyond");
}

TEST_F(VersionHistory, ActivationsAndFirmwaresAreSeparate)
{
    saveHistory(host, "Staged", 2);
    EXPECT_EQ(host.getVersionCount("Active"), 0);
    EXPECT_EQ(host.getVersion("Active", 0), "");
    EXPECT_EQ(bmc.getVersionCount("Staged"), 0);
    EXPECT_EQ(bmc.getVersion("Staged", 0), "");
}

TEST_F(VersionHistory, MissingLengthIsZero)
{
    EXPECT_EQ(host.getVersionCount("Staged"), 0);
    ASSERT_EQ(host.saveVersionStringFromInfo("Staged_count", ""), 0);
    EXPECT_EQ(host.getVersionCount("Staged"), 0);
}

TEST_F(VersionHistory, LengthIsReadAsFarAsItIsANumber)
{
    for (const auto& [text, count] : {std::pair{"3", 3},
                                      {" 7x", 7},
                                      {"12abc", 12},
                                      {"-1", -1},
                                      {"+5", 5},
                                      {"007", 7},
                                      {"\t\n8.9", 8},
                                      {"2147483647", 2147483647},
                                      {"-2147483648", -2147483647 - 1},
                                      {"0x1f", 0}})
    {
        ASSERT_EQ(host.saveVersionStringFromInfo("Staged_count", text), 0);
        EXPECT_EQ(host.getVersionCount("Staged"), count) << text;
    }
}

TEST_F(VersionHistory, LengthThatIsNoNumberThrows)
{
    for (const auto* const text : {"abc", "-", " ", "x1", "+-1"})
    {
        ASSERT_EQ(host.saveVersionStringFromInfo("Staged_count", text), 0);
        EXPECT_THROW(host.getVersionCount("Staged"), std::invalid_argument)
            << text;
    }
    for (const auto* const text : {"12345678901", "2147483648", "-2147483649"})
    {
        ASSERT_EQ(host.saveVersionStringFromInfo("Staged_count", text), 0);
        EXPECT_THROW(host.getVersionCount("Staged"), std::out_of_range) << text;
    }
}

TEST_F(VersionHistory, ErrorsOfTheLengthAreThoseOfTheConversion)
{
    const auto count = [&] { host.getVersionCount("Staged"); };
    ASSERT_EQ(host.saveVersionStringFromInfo("Staged_count", "many"), 0);
    EXPECT_EQ(support::thrownText<std::invalid_argument>(count), "stoi");
    ASSERT_EQ(host.saveVersionStringFromInfo("Staged_count", "9999999999"), 0);
    EXPECT_EQ(support::thrownText<std::out_of_range>(count), "stoi");
}

TEST_F(VersionHistory, DeletingAnEntryLeavesAHole)
{
    saveHistory(host, "Staged", 3);
    EXPECT_EQ(host.deleteVersion("Staged", 1), 0);
    EXPECT_EQ(logged(),
              std::vector{infoRecord(
                  "Host: Delete Staged version_1",
                  "{NAME}: Delete {ACTIVE} version_{SEQ}",
                  {{"NAME", "Host"}, {"ACTIVE", "Staged"}, {"SEQ", "1"}})});
    EXPECT_EQ(support::readFile(stateFile), R"({
    "Host": {
        "Staged_0": "v0",
        "Staged_2": "v2",
        "Staged_count": "3"
    }
}
)");
    EXPECT_EQ(host.getVersion("Staged", 1), "");
    EXPECT_EQ(host.getVersionCount("Staged"), 3);
    EXPECT_TRUE(services.takeCalls().empty());
}

TEST_F(VersionHistory, DeletingReturnsZeroEvenWhenItFails)
{
    support::writeFile(stateFile, "{ torn");
    EXPECT_EQ(host.deleteVersion("Staged", 1), 0);
    EXPECT_EQ(host.deleteVersion("Active", 65535), 0);
    EXPECT_EQ(logged().size(), 2U);
}

TEST_F(VersionHistory, DeletingAllRemovesEntriesUpToTheLengthAndTheLength)
{
    saveHistory(bmc, "Active", 2);
    ASSERT_EQ(bmc.saveVersion("Active", 2, "beyond"), 0);
    ASSERT_EQ(bmc.saveVersion("Staged", 0, "other"), 0);
    logged();
    EXPECT_EQ(bmc.deleteVersion("Active", 65535), 0);
    EXPECT_EQ(support::readFile(stateFile), R"({
    "BMC": {
        "Active_2": "beyond",
        "Staged_0": "other"
    }
}
)");
    EXPECT_EQ(logged(),
              std::vector{infoRecord("BMC: Delete Active all version",
                                     "{NAME}: Delete {ACTIVE} all version",
                                     {{"NAME", "BMC"}, {"ACTIVE", "Active"}})});
    EXPECT_TRUE(services.takeCalls().empty());
}

TEST_F(VersionHistory, DeletingAllRemovesALongHistoryToo)
{
    constexpr int entries = 200;
    std::string items;
    for (int i = 0; i < entries; ++i)
    {
        items += "\"Active_" + std::to_string(i) + R"(":"1.0",)";
    }
    support::writeFile(stateFile,
                       R"({"BMC":{)" + items + R"("Active_count":"200"}})");
    EXPECT_EQ(bmc.deleteVersion("Active", 65535), 0);
    EXPECT_EQ(support::readFile(stateFile), R"({
    "BMC": {}
}
)");
}

TEST_F(VersionHistory, DeletingAllOfALengthBelowOneRemovesOnlyTheLength)
{
    for (const int count : {0, -1})
    {
        ASSERT_EQ(bmc.saveVersion("Active", 0, "kept"), 0);
        ASSERT_EQ(bmc.saveVersionCount("Active", count), 0);
        EXPECT_EQ(bmc.getVersionStringFromInfo("Active_count"),
                  std::to_string(count));
        EXPECT_EQ(bmc.deleteVersion("Active", 65535), 0);
        EXPECT_EQ(bmc.getVersion("Active", 0), "kept");
        EXPECT_EQ(bmc.getVersionStringFromInfo("Active_count"), "");
    }
}

TEST_F(VersionHistory, TheNumberForAllIsAnEntryLikeAnyOtherElsewhere)
{
    EXPECT_EQ(bmc.saveVersion("Active", 65535, "an entry"), 0);
    EXPECT_EQ(bmc.getVersion("Active", 65535), "an entry");
    EXPECT_EQ(bmc.getVersionStringFromInfo("Active_65535"), "an entry");
    EXPECT_EQ(bmc.saveVersionCount("Active", 65535), 0);
    EXPECT_EQ(bmc.getVersionCount("Active"), 65535);
}

TEST_F(VersionHistory, EntryOfTheNumberForAllIsDeletedByItsKeyOnly)
{
    ASSERT_EQ(bmc.saveVersion("Active", 65535, "an entry"), 0);
    ASSERT_EQ(bmc.saveVersion("Active", 0, "another"), 0);
    EXPECT_EQ(bmc.deleteVersion("Active", 65535), 0);
    EXPECT_EQ(bmc.getVersion("Active", 65535), "an entry");
    EXPECT_EQ(bmc.deleteVersionStringFromInfo("Active_65535"), 0);
    EXPECT_EQ(bmc.getVersion("Active", 65535), "");
    EXPECT_EQ(bmc.getVersion("Active", 0), "another");
}

TEST_F(VersionHistory, DeletingAllOfAMalformedLengthThrowsAndDeletesNothing)
{
    saveHistory(host, "Staged", 1);
    ASSERT_EQ(host.saveVersionStringFromInfo("Staged_count", "many"), 0);
    EXPECT_THROW(host.deleteVersion("Staged", 65535), std::invalid_argument);
    ASSERT_EQ(host.saveVersionStringFromInfo("Staged_count", "12345678901"), 0);
    EXPECT_THROW(host.deleteVersion("Staged", 65535), std::out_of_range);
    EXPECT_EQ(host.getVersion("Staged", 0), "v0");
    EXPECT_EQ(host.getVersionStringFromInfo("Staged_count"), "12345678901");
    EXPECT_TRUE(logged().empty());
    EXPECT_TRUE(services.takeCalls().empty());
}

TEST_F(VersionHistory, DeletingAllStagedOfTheHostDeletesTheStagedObject)
{
    saveHistory(host, "Staged", 2);
    EXPECT_EQ(host.deleteVersion("Staged", 65535), 0);
    EXPECT_EQ(services.takeCalls(), std::vector{deleteStagedCall});
    EXPECT_EQ(host.getVersionCount("Staged"), 0);
    EXPECT_EQ(logged().size(), 1U);
}

TEST_F(VersionHistory, PurposeDecidesWhetherTheObjectIsDeleted)
{
    FwManager renamed("BIOS");
    renamed.purpose = VersionPurpose::Host;
    EXPECT_EQ(renamed.deleteVersion("Staged", 65535), 0);
    EXPECT_EQ(services.takeCalls(), std::vector{deleteStagedCall});

    FwManager byNameAlone("Host");
    byNameAlone.purpose = VersionPurpose::BMC;
    EXPECT_EQ(byNameAlone.deleteVersion("Staged", 65535), 0);
    EXPECT_TRUE(services.takeCalls().empty());
}

TEST_F(VersionHistory, NothingElseDeletesTheObject)
{
    EXPECT_EQ(host.deleteVersion("staged", 65535), 0);
    EXPECT_EQ(host.deleteVersion("Active", 65535), 0);
    EXPECT_EQ(host.deleteVersion("Staged ", 65535), 0);
    EXPECT_EQ(host.deleteVersion("Staged", 0), 0);
    EXPECT_EQ(bmc.deleteVersion("Staged", 65535), 0);
    EXPECT_TRUE(services.takeCalls().empty());
}

TEST_F(VersionHistory, StagedObjectIsDeletedThoughTheRecordsCannotBe)
{
    support::writeFile(stateFile, "{ torn");
    EXPECT_EQ(host.deleteVersion("Staged", 65535), 0);
    EXPECT_EQ(services.takeCalls(), std::vector{deleteStagedCall});
}

TEST_F(VersionHistory, ObjectThatCannotBeDeletedIsLogged)
{
    saveHistory(host, "Staged", 1);
    services.answer("/xyz/openbmc_project/software/bios_staged", "Delete",
                    Answer::error("a.b.Error", "no"));
    EXPECT_EQ(host.deleteVersion("Staged", 65535), 0);
    EXPECT_EQ(
        logged(),
        (std::vector{
            infoRecord("Host: Delete Staged all version",
                       "{NAME}: Delete {ACTIVE} all version",
                       {{"NAME", "Host"}, {"ACTIVE", "Staged"}}),
            errorRecord(
                "Delete bios_staged version failed: sd_bus_call: a.b.Error: no",
                "Delete bios_staged version failed: {ERROR}",
                {{"ERROR", "sd_bus_call: a.b.Error: no"}})}));
    EXPECT_EQ(host.getVersion("Staged", 0), "");
}

using VersionHistoryWithoutABus = support::LibraryTest;

TEST_F(VersionHistoryWithoutABus, CallThatCannotBeMadeLeavesAfterTheRecords)
{
    const std::string reachable = ::getenv("DBUS_SYSTEM_BUS_ADDRESS");
    ::setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/run/absent", 1);
    {
        FwManager host("Host");
        ASSERT_EQ(host.saveVersion("Staged", 0, "1.0"), 0);
        ASSERT_EQ(host.saveVersionCount("Staged", 1), 0);
        logged();
        EXPECT_THROW(host.deleteVersion("Staged", 65535),
                     sdbusplus::exception::SdBusError);
        EXPECT_EQ(host.getVersion("Staged", 0), "");
        EXPECT_EQ(host.getVersionStringFromInfo("Staged_count"), "");
        EXPECT_EQ(logged().size(), 1U);
    }
    ::setenv("DBUS_SYSTEM_BUS_ADDRESS", reachable.c_str(), 1);
}

} // namespace
