// SPDX-License-Identifier: Apache-2.0
#include "support/library_test.hpp"
#include "support/thrown.hpp"

#include <libfenmarch.hpp>
#include <sdbusplus/exception.hpp>

#include <cstdlib>

namespace
{

using namespace phosphor::software::updater;
using sdbusplus::exception::SdBusError;
using support::Answer;
using support::errorRecord;
using support::setCall;
using support::thrownText;

constexpr auto button = "/xyz/openbmc_project/chassis/buttons/power";

const support::Property masked{"xyz.openbmc_project.State.Host", button,
                               "xyz.openbmc_project.Chassis.Buttons",
                               "ButtonMasked"};

class PowerLock : public support::BusTest
{
  public:
    FwManager manager{"BMC"};
};

TEST_F(PowerLock, DisablingMasksTheButton)
{
    EXPECT_EQ(manager.disablePowerOp(), 0);
    EXPECT_EQ(services.takeCalls(), std::vector{setCall(masked, "b true")});
    EXPECT_EQ(services.property(button, "ButtonMasked"), "b true");
    EXPECT_TRUE(logged().empty());
}

TEST_F(PowerLock, EnablingUnmasksTheButton)
{
    EXPECT_EQ(manager.enablePowerOp(), 0);
    EXPECT_EQ(services.takeCalls(), std::vector{setCall(masked, "b false")});
    EXPECT_EQ(services.property(button, "ButtonMasked"), "b false");
    EXPECT_TRUE(logged().empty());
}

TEST_F(PowerLock, OneEnableUndoesTwoDisables)
{
    EXPECT_EQ(manager.disablePowerOp(), 0);
    EXPECT_EQ(manager.disablePowerOp(), 0);
    EXPECT_EQ(manager.enablePowerOp(), 0);
    EXPECT_EQ(services.takeCalls(),
              (std::vector{setCall(masked, "b true"), setCall(masked, "b true"),
                           setCall(masked, "b false")}));
    EXPECT_EQ(services.property(button, "ButtonMasked"), "b false");
}

TEST_F(PowerLock, ButtonStaysMaskedWhenTheManagerIsGone)
{
    {
        FwManager other("Host");
        ASSERT_EQ(other.disablePowerOp(), 0);
    }
    EXPECT_EQ(services.property(button, "ButtonMasked"), "b true");
}

TEST_F(PowerLock, RejectedPropertyIsLogged)
{
    services.answer(
        button, "ButtonMasked",
        Answer::error("org.freedesktop.DBus.Error.AccessDenied", "not now"));
    const std::string error =
        "sd_bus_call: org.freedesktop.DBus.Error.AccessDenied: not now";

    EXPECT_EQ(manager.disablePowerOp(), -1);
    EXPECT_EQ(manager.enablePowerOp(), -1);
    EXPECT_EQ(
        logged(),
        (std::vector{errorRecord("Disable power operation failed: " + error,
                                 "Disable power operation failed: {ERROR}",
                                 {{"ERROR", error}}),
                     errorRecord("Enable power operation failed: " + error,
                                 "Enable power operation failed: {ERROR}",
                                 {{"ERROR", error}})}));
}

TEST_F(PowerLock, ReplyIsNotLookedAt)
{
    services.answer(button, "ButtonMasked", Answer::value("i", "7"));
    EXPECT_EQ(manager.disablePowerOp(), 0);
    EXPECT_TRUE(logged().empty());
}

using PowerLockWithoutServices = support::LibraryTest;

TEST_F(PowerLockWithoutServices, AbsentServiceIsLogged)
{
    FwManager manager("BMC");
    EXPECT_EQ(manager.disablePowerOp(), -1);
    EXPECT_EQ(manager.enablePowerOp(), -1);
    const auto records = logged();
    ASSERT_EQ(records.size(), 2U);
    for (const auto& record : records)
    {
        EXPECT_TRUE(record.at("ERROR").starts_with(
            "sd_bus_call: org.freedesktop.DBus.Error.ServiceUnknown: "))
            << record.at("ERROR");
    }
    EXPECT_EQ(records[0].at("MESSAGE"),
              "Disable power operation failed: " + records[0].at("ERROR"));
    EXPECT_EQ(records[1].at("MESSAGE"),
              "Enable power operation failed: " + records[1].at("ERROR"));
    EXPECT_EQ(records[0].at("PRIORITY"), "3");
}

TEST_F(PowerLockWithoutServices, UnreachableBusLeavesAsAnException)
{
    const std::string reachable = ::getenv("DBUS_SYSTEM_BUS_ADDRESS");
    ::setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/run/absent", 1);
    const auto expectThrow = [](int (FwManager::*operation)()) {
        const auto text = thrownText<SdBusError>([&] {
            FwManager manager("BMC");
            (manager.*operation)();
        });
        EXPECT_TRUE(text.starts_with("sd_bus_message_new_method_call: "))
            << text;
    };
    expectThrow(&FwManager::disablePowerOp);
    expectThrow(&FwManager::enablePowerOp);
    ::setenv("DBUS_SYSTEM_BUS_ADDRESS", reachable.c_str(), 1);
    EXPECT_TRUE(logged().empty());
}

} // namespace
