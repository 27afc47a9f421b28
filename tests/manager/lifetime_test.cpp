// SPDX-License-Identifier: Apache-2.0

// How the lifetime of a manager affects the service that uses it: its threads,
// its own use of the bus, and its child processes.

#include "support/await.hpp"
#include "support/bus_pointers.hpp"
#include "support/child.hpp"
#include "support/library_test.hpp"

#include <libfenmarch.hpp>
#include <sdbusplus/exception.hpp>
#include <systemd/sd-event.h>

#include <array>
#include <csignal>
#include <latch>
#include <memory>
#include <optional>
#include <thread>

namespace
{

using namespace phosphor::software::updater;

constexpr auto serviceName = "com.example.Service";

struct ReleaseEvent
{
    void operator()(sd_event* event) const
    {
        sd_event_unref(event);
    }
};

/** A service that takes its name on this connection, and lives by an event
 *  loop that is to end with the connection. */
class Service
{
  public:
    explicit Service(support::BusPointer connection) :
        bus(std::move(connection))
    {
        sd_event* made = nullptr;
        sd_event_new(&made);
        event.reset(made);
        sd_bus_attach_event(bus.get(), made, 0);
        sd_bus_set_exit_on_disconnect(bus.get(), 1);
        sd_bus_request_name(bus.get(), serviceName, 0);
    }

    bool isConnected() const
    {
        return sd_bus_is_open(bus.get()) > 0;
    }

    /** Whether the loop ends once it has nothing more to do. */
    bool loopEnds() const
    {
        while (sd_event_run(event.get(), 0) > 0)
        {
        }
        return sd_event_get_state(event.get()) == SD_EVENT_FINISHED;
    }

  private:
    support::BusPointer bus;
    std::unique_ptr<sd_event, ReleaseEvent> event;
};

support::BusPointer defaultConnection()
{
    sd_bus* bus = nullptr;
    sd_bus_default(&bus);
    return support::BusPointer(bus);
}

support::BusPointer connectionOfItsOwn()
{
    sd_bus* bus = nullptr;
    sd_bus_open(&bus);
    return support::BusPointer(bus);
}

class Lifetime : public support::BusTest
{
  public:
    bool nameIsTaken() const
    {
        return sd_bus_get_name_creds(onlooker.get(), serviceName, 0, nullptr) >=
               0;
    }

    /** Waits until the bus has released a name, a little after its owner ended.
     *  @return false if it has not after ten seconds */
    bool nameIsGivenBack() const
    {
        return support::await([&] { return !nameIsTaken(); });
    }

  private:
    support::BusPointer onlooker = connectionOfItsOwn();
};

std::string nameOf(const FwManager& manager)
{
    return manager.name;
}

TEST_F(Lifetime, ManagersThatOutliveTheirThreadsEndTheProcess)
{
    support::Child child([] {
        // Sanitizers would turn it into an exit.
        static_cast<void>(std::signal(SIGSEGV, SIG_DFL));
        // More than the threads whose memory is kept for the next ones.
        constexpr int count = 12;
        std::array<std::optional<FwManager>, count> managers;
        std::latch allMade(count);
        {
            std::array<std::jthread, count> threads;
            for (std::size_t i = 0; i < count; ++i)
            {
                threads[i] = std::jthread([&, i] {
                    managers[i].emplace("BMC");
                    allMade.arrive_and_wait();
                });
            }
        }
        for (auto& manager : managers)
        {
            manager.reset();
        }
        return 0;
    });
    EXPECT_EQ(child.wait(), -SIGSEGV);
}

TEST_F(Lifetime, ManagersThatEndInTheirThreadsHarmNothing)
{
#ifdef __SANITIZE_ADDRESS__
    // Another thread may hold the lock of the sanitizer's allocator during the
    // fork, and the child, which starts threads, waits for it without end.
    GTEST_SKIP() << "AddressSanitizer: threads in a forked child";
#endif
    support::Child child([] {
        for (int i = 0; i < 12; ++i)
        {
            std::jthread([] { FwManager("BMC").disablePowerOp(); });
        }
        return 0;
    });
    EXPECT_EQ(child.wait(), 0);
}

TEST_F(Lifetime, TemporaryClosesTheDefaultConnectionOfTheServiceUnnoticed)
{
    const Service service(defaultConnection());
    ASSERT_TRUE(nameIsTaken());
    EXPECT_FALSE(FwManager("Host").isConfig());
    EXPECT_FALSE(service.isConnected());
    EXPECT_TRUE(nameIsGivenBack());
    EXPECT_FALSE(service.loopEnds());
}

TEST_F(Lifetime, TextThatConvertsToAManagerClosesTheDefaultConnection)
{
    const Service service(defaultConnection());
    EXPECT_EQ(nameOf("Host"), "Host");
    EXPECT_FALSE(service.isConnected());
    EXPECT_TRUE(nameIsGivenBack());
}

TEST_F(Lifetime, ManagersThatAreKeptLeaveTheDefaultConnectionOpen)
{
    FwManager host("Host");
    FwManager bmc("BMC");
    const Service service(defaultConnection());
    EXPECT_EQ(host.disablePowerOp(), 0);
    EXPECT_EQ(bmc.enablePowerOp(), 0);
    EXPECT_EQ(nameOf(host), "Host");
    EXPECT_TRUE(service.isConnected());
    EXPECT_TRUE(nameIsTaken());
}

TEST_F(Lifetime, SeparateConnectionOfTheServiceOutlivesEveryManager)
{
    const Service service(connectionOfItsOwn());
    EXPECT_EQ(nameOf("Host"), "Host");
    EXPECT_EQ(FwManager("Host").disablePowerOp(), 0);
    EXPECT_TRUE(service.isConnected());
    EXPECT_TRUE(nameIsTaken());
}

TEST_F(Lifetime, BusThatEndsIsNoticedByTheLoop)
{
    const Service service(connectionOfItsOwn());
    systemBus().stop();
    EXPECT_TRUE(service.loopEnds());
    systemBus().start();
}

/** Whether a call that is to mask the button does so. */
bool masks(FwManager& manager)
{
    try
    {
        return manager.disablePowerOp() == 0;
    }
    catch (const sdbusplus::exception::SdBusError&)
    {
        return false;
    }
}

TEST_F(Lifetime, ClosedConnectionThatTheServiceHoldsStaysTheDefaultOne)
{
    const auto newOneMasks = [] {
        FwManager manager("Host");
        return masks(manager);
    };
    auto ofTheService = defaultConnection();
    EXPECT_TRUE(newOneMasks());
    EXPECT_FALSE(newOneMasks());
    ofTheService.reset();
    EXPECT_TRUE(newOneMasks());
}

TEST_F(Lifetime, ForkLeavesTheChildWithoutABusAsLongAsAManagerOfTheParentLives)
{
    FwManager ofTheParent("BMC");
    ASSERT_TRUE(masks(ofTheParent));
    support::Child child([&] {
        const bool inherited = masks(ofTheParent);
        FwManager beside("Host");
        return (inherited ? 1 : 0) + (masks(beside) ? 2 : 0);
    });
    EXPECT_EQ(child.wait(), 0);
    EXPECT_TRUE(masks(ofTheParent));
}

TEST_F(Lifetime, ForkBeforeTheFirstManagerLeavesTheChildItsBus)
{
    support::Child child([] {
        FwManager first("BMC");
        return masks(first) ? 0 : 1;
    });
    EXPECT_EQ(child.wait(), 0);
}

} // namespace
