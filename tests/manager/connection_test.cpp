#include "support/library_test.hpp"

#include <libfenmarch.hpp>

#include <optional>
#include <stdexcept>
#include <thread>

namespace
{

using namespace phosphor::software::updater;

using Connection = support::BusTest;

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
        EXPECT_EQ(later.disablePowerOp(), -1);
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
        EXPECT_EQ(beside.disablePowerOp(), -1);
    }
    first.reset();
    FwManager anew("BMC");
    EXPECT_EQ(anew.disablePowerOp(), 0);
}

TEST_F(Connection, RecordsDoNotNeedIt)
{
    std::optional<FwManager> first("BMC");
    FwManager second("Host");
    first.reset();
    EXPECT_EQ(second.saveVersionStringFromInfo("a", "1"), 0);
    EXPECT_EQ(second.getVersionStringFromInfo("a"), "1");
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
