// SPDX-License-Identifier: Apache-2.0
#include "support/library_test.hpp"

#include <libfenmarch.hpp>
#include <systemd/sd-bus.h>

#include <stdexcept>
#include <type_traits>

namespace
{

using namespace phosphor::software::updater;
using support::errorRecord;

using Manager = support::LibraryTest;

static_assert(!std::is_copy_constructible_v<FwManager>);
static_assert(!std::is_copy_assignable_v<FwManager>);
static_assert(!std::is_polymorphic_v<FwManager>);
static_assert(std::is_convertible_v<VersionPurpose, FwManager>);
static_assert(std::is_convertible_v<std::string, FwManager>);
static_assert(std::is_convertible_v<const char*, FwManager>);
static_assert(sizeof(VersionPurpose) == 4);

using Text = std::string (FwManager::*)();
using List = std::vector<std::string> (FwManager::*)();
static_assert(std::is_same_v<decltype(&FwManager::getWorkMode), Text>);
static_assert(std::is_same_v<decltype(&FwManager::getImageList), List>);
static_assert(std::is_same_v<decltype(&FwManager::getImageBackupMount), List>);
static_assert(std::is_same_v<decltype(&FwManager::getOptions), List>);
static_assert(std::is_same_v<decltype(&FwManager::getApplyTimeOptions), List>);
static_assert(std::is_same_v<decltype(&FwManager::getProcGetVersion), Text>);
static_assert(std::is_same_v<decltype(&FwManager::getProcImageCheck), Text>);
static_assert(std::is_same_v<decltype(&FwManager::getProcUpdate), Text>);
static_assert(std::is_same_v<decltype(&FwManager::getProcActive), Text>);
static_assert(std::is_same_v<decltype(&FwManager::getProcPowerUp), Text>);
static_assert(std::is_same_v<decltype(&FwManager::getProcPowerDown), Text>);

static_assert(std::is_same_v<decltype(FwManager::purpose), VersionPurpose>);
static_assert(std::is_same_v<decltype(FwManager::name), std::string>);
static_assert(std::is_same_v<decltype(FwManager::bus), sdbusplus::bus_t>);

TEST_F(Manager, MembersHaveTheRequiredOrder)
{
    const FwManager manager;
    const void* const purpose = &manager.purpose;
    const void* const name = &manager.name;
    const void* const bus = &manager.bus;
    EXPECT_EQ(purpose, &manager);
    EXPECT_LT(purpose, name);
    EXPECT_LT(name, bus);
}

TEST_F(Manager, MadeFromAPurposeHasItsName)
{
    const FwManager manager(VersionPurpose::BMC);
    EXPECT_EQ(manager.name, "BMC");
    EXPECT_EQ(manager.purpose, VersionPurpose::BMC);
    EXPECT_TRUE(logged().empty());
}

TEST_F(Manager, MadeFromANameHasItsPurpose)
{
    const FwManager fromString(std::string("Host"));
    EXPECT_EQ(fromString.name, "Host");
    EXPECT_EQ(fromString.purpose, VersionPurpose::Host);
    const FwManager fromText("PSU");
    EXPECT_EQ(fromText.name, "PSU");
    EXPECT_EQ(fromText.purpose, VersionPurpose::PSU);
    EXPECT_TRUE(logged().empty());
}

TEST_F(Manager, MadeFromNothingIsUnknown)
{
    const FwManager manager;
    EXPECT_EQ(manager.name, "Unknown");
    EXPECT_EQ(manager.purpose, VersionPurpose::Unknown);
    EXPECT_TRUE(logged().empty());
}

TEST_F(Manager, OtherNameIsKeptAndItsPurposeIsUnknown)
{
    const auto expectBios = [&](const FwManager& manager) {
        EXPECT_EQ(manager.name, "BIOS");
        EXPECT_EQ(manager.purpose, VersionPurpose::Unknown);
        EXPECT_EQ(logged(), std::vector{errorRecord(
                                "Failed get version purpose from name BIOS!",
                                "Failed get version purpose from name {NAME}!",
                                {{"NAME", "BIOS"}})});
    };
    expectBios(FwManager("BIOS"));
    expectBios(FwManager(std::string("BIOS")));
}

TEST_F(Manager, PurposeOutsideTheEnumerationLeavesTheConstructor)
{
    EXPECT_THROW(FwManager(static_cast<VersionPurpose>(99)),
                 std::invalid_argument);
    EXPECT_TRUE(logged().empty());
}

TEST_F(Manager, NullNameIsRefusedByTheString)
{
    EXPECT_THROW(FwManager(static_cast<const char*>(nullptr)),
                 std::logic_error);
}

TEST_F(Manager, ConstructionReadsNoConfiguration)
{
    FwManager fromPurpose(VersionPurpose::BMC);
    FwManager fromString(std::string("BMC"));
    FwManager fromText("BMC");
    FwManager fromNothing;
    support::writeFile(configFile, R"({"BMC":{"updateable":"yes"},)"
                                   R"("Unknown":{"updateable":"yes"}})");
    FwManager fromPurposeBesideAFile(VersionPurpose::BMC);
    FwManager fromStringBesideAFile(std::string("BMC"));
    FwManager fromTextBesideAFile("BMC");
    FwManager fromNothingBesideAFile;
    support::writeFile(configFile, R"({"BMC":{"updateable":"no"},)"
                                   R"("Unknown":{"updateable":"no"}})");
    for (auto* const each : {&fromPurpose, &fromString, &fromText, &fromNothing,
                             &fromPurposeBesideAFile, &fromStringBesideAFile,
                             &fromTextBesideAFile, &fromNothingBesideAFile})
    {
        EXPECT_TRUE(each->isConfig());
        EXPECT_FALSE(each->getUpdateable());
    }
}

using ManagerOnTheBus = support::BusTest;

TEST_F(ManagerOnTheBus, ConnectionIsTheThreadsDefaultOne)
{
    FwManager first("BMC");
    FwManager second("Host");
    ASSERT_EQ(first.disablePowerOp(), 0);
    ASSERT_EQ(second.disablePowerOp(), 0);

    sd_bus* shared = nullptr;
    ASSERT_GE(sd_bus_default(&shared), 0);
    sd_bus_close_unref(shared);
    EXPECT_EQ(first.disablePowerOp(), -1);
    EXPECT_EQ(second.disablePowerOp(), -1);
}

} // namespace
