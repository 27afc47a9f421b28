// SPDX-License-Identifier: Apache-2.0
#include "support/bus_that_hangs_up.hpp"
#include "support/child.hpp"
#include "support/library_test.hpp"
#include "support/thrown.hpp"

#include <libfenmarch.hpp>
#include <sdbusplus/exception.hpp>

#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <thread>

namespace
{

using namespace phosphor::software::updater;

class Connection : public support::BusTest
{
  public:
    /** The manager was made, but got no connection. */
    static void expectNoConnection(FwManager& manager)
    {
        EXPECT_EQ(support::thrownText<sdbusplus::exception::SdBusError>(
                      [&] { manager.disablePowerOp(); }),
                  "sd_bus_message_new_method_call: System.Error.ENOTCONN: "
                  "Transport endpoint is not connected");
    }

    static void expectRecords(FwManager& manager)
    {
        EXPECT_EQ(manager.saveVersionStringFromInfo("a", "1"), 0);
        EXPECT_EQ(manager.getVersionStringFromInfo("a"), "1");
    }
};

TEST_F(Connection, EndsWithTheFirstManagerOfTheThread)
{
    std::optional<FwManager> first("BMC");
    std::optional<FwManager> second("Host");
    ASSERT_EQ(second->disablePowerOp(), 0);
    first.reset();

    EXPECT_EQ(second->disablePowerOp(), -1);
    const auto records = logged();
    ASSERT_EQ(records.size(), 1U);
    EXPECT_TRUE(records[0].at("ERROR").starts_with(
        "sd_bus_call: System.Error.ENOTCONN: "))
        << records[0].at("ERROR");
}

TEST_F(Connection, StaysEndedUntilItsLastManagerIsGone)
{
    std::optional<FwManager> first("BMC");
    std::optional<FwManager> second("Host");
    first.reset();
    {
        FwManager later("BMC");
        expectNoConnection(later);
    }
    second.reset();
    FwManager anew("BMC");
    EXPECT_EQ(anew.disablePowerOp(), 0);
}

TEST_F(Connection, EndsWithAConstructorThatThrowsAfterTakingIt)
{
    FwManager first("BMC");
    ASSERT_EQ(first.disablePowerOp(), 0);
    EXPECT_THROW(FwManager(static_cast<const char*>(nullptr)),
                 std::logic_error);
    EXPECT_EQ(first.disablePowerOp(), -1);
}

TEST_F(Connection, EndsWithTheBusUntilItsManagersAreGone)
{
    std::optional<FwManager> first("BMC");
    ASSERT_EQ(first->disablePowerOp(), 0);
    systemBus().stop();
    EXPECT_EQ(first->disablePowerOp(), -1);
    systemBus().start();
    const support::FakeServices again;
    EXPECT_EQ(first->disablePowerOp(), -1);
    {
        FwManager beside("Host");
        expectNoConnection(beside);
    }
    first.reset();
    FwManager anew("BMC");
    EXPECT_EQ(anew.disablePowerOp(), 0);
}

TEST_F(Connection, IsNotNeededForRecords)
{
    std::optional<FwManager> first("BMC");
    FwManager second("Host");
    first.reset();
    expectRecords(second);
    FwManager later("Host");
    expectRecords(later);
}

TEST_F(Connection, IsNotMadeWithoutABus)
{
    systemBus().stop();
    FwManager manager("BMC");
    expectNoConnection(manager);
    EXPECT_TRUE(logged().empty());
    expectRecords(manager);
    systemBus().start();
    const support::FakeServices again;
    EXPECT_THROW(manager.disablePowerOp(), sdbusplus::exception::SdBusError);
    FwManager anew("BMC");
    EXPECT_EQ(anew.disablePowerOp(), 0);
}

TEST_F(Connection, IsNotMadeWhenTheBusHangsUp)
{
    systemBus().stop();
    {
        const support::BusThatHangsUp busThatHangsUp;
        FwManager manager("BMC");
        expectNoConnection(manager);
        expectRecords(manager);
    }
    systemBus().start();
}

TEST_F(Connection, IsNotMadeWhenTheBusDoesNotAnswer)
{
    systemBus().stop();
    ::setenv("SYSTEMD_BUS_TIMEOUT", "50ms", 1);
    {
        const support::BusThatHangsUp mute(
            support::BusThatHangsUp::When::afterClient);
        FwManager manager("BMC");
        expectNoConnection(manager);
        expectRecords(manager);
    }
    ::unsetenv("SYSTEMD_BUS_TIMEOUT");
    systemBus().start();
}

TEST_F(Connection, OfAParentIsNotTaken)
{
    FwManager parents("BMC");
    ASSERT_EQ(parents.disablePowerOp(), 0);
    support::Child child([&] {
        FwManager childs("Host");
        expectNoConnection(childs);
        expectRecords(childs);
        return HasFailure() ? 1 : 0;
    });
    EXPECT_EQ(child.wait(), 0);
    EXPECT_EQ(parents.disablePowerOp(), 0);
}

TEST_F(Connection, OfAnotherThreadGoesOn)
{
    std::optional<FwManager> first("BMC");
    std::thread([&] {
        FwManager other("Host");
        first.reset();
        EXPECT_EQ(other.disablePowerOp(), 0);
    }).join();
}

} // namespace
