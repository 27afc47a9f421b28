// SPDX-License-Identifier: Apache-2.0

// How long a caller waits for a bus or a service that does not answer, with the
// time-outs of the platform. The cases wait at the same time.

#include "support/checked.hpp"
#include "support/child.hpp"
#include "support/descriptor.hpp"
#include "support/library_test.hpp"
#include "support/shared_memory.hpp"

#include <libfenmarch.hpp>
#include <sdbusplus/exception.hpp>
#include <systemd/sd-bus.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

namespace
{

using namespace phosphor::software::updater;
using std::chrono::duration;
using std::chrono::steady_clock;
using support::Answer;

constexpr auto button = "/xyz/openbmc_project/chassis/buttons/power";

/** A bus that lets its clients connect, and does not answer their calls. */
class SilentBus
{
  public:
    enum class Kind
    {
        mute,         //!< sends nothing at all
        authenticates //!< sends only what precedes the first call
    };

    explicit SilentBus(Kind kind)
    {
        // Each has its own: none takes the socket of another away.
        const std::string path = "/run/silent_bus_" + std::to_string(getpid());
        sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
        std::strcpy(address.sun_path, path.c_str());
        support::checked(bind(listener.get(),
                              reinterpret_cast<const sockaddr*>(&address),
                              sizeof(address)),
                         "bind");
        support::checked(listen(listener.get(), 10), "listen");
        setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + path).c_str(), 1);
        if (kind == Kind::authenticates)
        {
            std::thread(authenticate, listener.get()).detach();
        }
    }

  private:
    static void authenticate(int socket)
    {
        constexpr std::string_view welcome =
            "DATA\r\nOK 0123456789abcdef0123456789abcdef\r\nAGREE_UNIX_FD\r\n";
        while (true)
        {
            const int client = accept(socket, nullptr, nullptr);
            static_cast<void>(
                send(client, welcome.data(), welcome.size(), MSG_NOSIGNAL));
        }
    }

    support::Descriptor listener{support::checked(
        socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket")};
};

/** The time that a manager needed, in seconds. */
struct Taken
{
    double constructor = 0;
    double firstCall = 0;
    double secondCall = 0;
    double destructor = 0;
    bool succeeded = false;

    double all() const
    {
        return constructor + firstCall + secondCall + destructor;
    }
};

template <typename Work>
double secondsOf(Work work)
{
    const auto start = steady_clock::now();
    work();
    return duration<double>(steady_clock::now() - start).count();
}

/** Whether the button is masked. */
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

/** A life of a manager, with calls or without. */
void live(Taken& taken, bool calls)
{
    std::optional<FwManager> manager;
    taken.constructor = secondsOf([&] { manager.emplace("Host"); });
    if (calls)
    {
        taken.firstCall = secondsOf([&] { taken.succeeded = masks(*manager); });
        taken.secondCall =
            secondsOf([&] { taken.succeeded |= masks(*manager); });
    }
    taken.destructor = secondsOf([&] { manager.reset(); });
}

/** Such a life in a process of its own, on the test's bus or a silent one. */
class Life
{
  public:
    Life(std::optional<SilentBus::Kind> kind, bool calls) :
        child([=, this] {
            std::optional<SilentBus> bus;
            if (kind)
            {
                bus.emplace(*kind);
            }
            live(*seconds, calls);
            return 0;
        })
    {
    }

    /** Once. */
    const Taken& taken()
    {
        child.wait();
        return *seconds;
    }

  private:
    support::SharedMemory<Taken> seconds;
    support::Child child;
};

/** Services whose button gives no answer. */
struct DeafServices : support::FakeServices
{
    DeafServices()
    {
        answer(button, "ButtonMasked", Answer::never());
    }
};

/** All of them, beside each other. */
struct Lives
{
    DeafServices services;
    Life deafService{std::nullopt, true};
    Life muteBus{SilentBus::Kind::mute, true};
    Life muteBusWithoutACall{SilentBus::Kind::mute, false};
    Life welcomingBus{SilentBus::Kind::authenticates, true};
};

class Waiting : public support::LibraryTest
{
  public:
    static Lives& lives()
    {
        static Lives all;
        return all;
    }

    static constexpr double toleranceSeconds = 10;
};

TEST_F(Waiting, CallOfAServiceThatDoesNotAnswerTakes25Seconds)
{
    const Taken& taken = lives().deafService.taken();
    EXPECT_FALSE(taken.succeeded);
    EXPECT_NEAR(taken.firstCall, 25, toleranceSeconds);
    EXPECT_NEAR(taken.secondCall, 25, toleranceSeconds);
    EXPECT_NEAR(taken.constructor + taken.destructor, 0, toleranceSeconds);
}

TEST_F(Waiting, BusThatSendsNothingDelaysAManagerBy90Seconds)
{
    const Taken& taken = lives().muteBus.taken();
    EXPECT_FALSE(taken.succeeded);
    EXPECT_NEAR(taken.constructor, 90, toleranceSeconds);
    EXPECT_NEAR(taken.all(), 90, toleranceSeconds);
}

TEST_F(Waiting, BusThatSendsNothingDelaysAManagerWithoutACallToo)
{
    EXPECT_NEAR(lives().muteBusWithoutACall.taken().all(), 90,
                toleranceSeconds);
}

TEST_F(Waiting, BusThatAnswersNoHelloTakes25Seconds)
{
    const Taken& taken = lives().welcomingBus.taken();
    EXPECT_FALSE(taken.succeeded);
    EXPECT_NEAR(taken.all(), 25, toleranceSeconds);
}

} // namespace
