// SPDX-License-Identifier: Apache-2.0

// How the surroundings of a service affect a call: signals, a called service
// that is the caller itself, a journal that has stopped.

#include "support/await.hpp"
#include "support/bus_pointers.hpp"
#include "support/checked.hpp"
#include "support/child.hpp"
#include "support/descriptor.hpp"
#include "support/library_test.hpp"
#include "support/shared_memory.hpp"

#include <libfenmarch.hpp>

#include <pthread.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>

namespace
{

using namespace phosphor::software::updater;
using support::Answer;
using support::await;

constexpr auto button = "/xyz/openbmc_project/chassis/buttons/power";
constexpr auto buttonService = "xyz.openbmc_project.State.Host";

class Surroundings : public support::BusTest
{
  public:
    /** The text of the one error that was logged. */
    std::string loggedError()
    {
        const auto records = logged();
        return records.size() == 1 && records[0].contains("ERROR")
                   ? records[0].at("ERROR")
                   : std::to_string(records.size()) + " records";
    }

    FwManager manager{"Host"};
};

/** Sends SIGUSR1 to the thread that made it, once a call has arrived. */
class SignalDuringCall
{
  public:
    explicit SignalDuringCall(support::FakeServices& services) :
        thread([&services, caller = pthread_self()] {
            await([&] { return !services.takeCalls().empty(); });
            pthread_kill(caller, SIGUSR1);
        })
    {
    }

  private:
    std::jthread thread;
};

void handle(int)
{
}

class HandledSignal : public Surroundings,
                      public testing::WithParamInterface<int>
{
};

TEST_P(HandledSignal, MayFailACallThatTheServiceCarriesOut)
{
    struct sigaction action{};
    action.sa_handler = handle;
    action.sa_flags = GetParam();
    struct sigaction former{};
    sigaction(SIGUSR1, &action, &former);
    services.answer(button, "ButtonMasked",
                    Answer::late(std::chrono::milliseconds(200)));
    int status = 0;
    {
        const SignalDuringCall signal(services);
        status = manager.disablePowerOp();
    }
    sigaction(SIGUSR1, &former, nullptr);

    EXPECT_EQ(loggedError(),
              status == 0
                  ? "0 records"
                  : "sd_bus_call: System.Error.EINTR: Interrupted system call");
    if (LIBSYSTEMD_VERSION <= 252)
    {
        EXPECT_EQ(status, -1);
    }
    if (LIBSYSTEMD_VERSION >= 257)
    {
        EXPECT_EQ(status, 0);
    }
    EXPECT_TRUE(await(
        [&] { return services.property(button, "ButtonMasked") == "b true"; }));
}

INSTANTIATE_TEST_SUITE_P(RestartingOrNot, HandledSignal,
                         testing::Values(0, SA_RESTART));

TEST_F(Surroundings, BlockedSignalWaitsForTheEndOfTheCall)
{
    sigset_t signals{};
    sigemptyset(&signals);
    sigaddset(&signals, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    const support::Descriptor arrivals(
        signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
    services.answer(button, "ButtonMasked",
                    Answer::late(std::chrono::milliseconds(200)));
    {
        const SignalDuringCall signal(services);
        EXPECT_EQ(manager.disablePowerOp(), 0);
    }

    signalfd_siginfo arrived{};
    EXPECT_EQ(read(arrivals.get(), &arrived, sizeof(arrived)),
              static_cast<ssize_t>(sizeof(arrived)));
    EXPECT_EQ(arrived.ssi_signo, static_cast<unsigned>(SIGUSR1));
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

TEST_F(Surroundings, ServiceThatDoesNotAnswerFailsTheCall)
{
    sd_bus* shared = nullptr;
    support::checkedSystemd(sd_bus_default(&shared), "sd_bus_default");
    sd_bus_set_method_call_timeout(shared, 50'000);
    services.answer(button, "ButtonMasked", Answer::never());
    EXPECT_EQ(manager.disablePowerOp(), -1);
    EXPECT_TRUE(loggedError().starts_with(
        "sd_bus_call: org.freedesktop.DBus.Error.Timeout: "));
    sd_bus_unref(shared);
}

/** A service that owns a name that the library calls. */
class OwnService : public support::LibraryTest
{
  public:
    static void own(sd_bus* bus)
    {
        support::checkedSystemd(sd_bus_request_name(bus, buttonService, 0),
                                "own the name");
    }

    FwManager manager{"Host"};
};

TEST_F(OwnService, CannotBeCalledOnItsOwnConnection)
{
    sd_bus* shared = nullptr;
    support::checkedSystemd(sd_bus_default(&shared), "sd_bus_default");
    own(shared);
    EXPECT_EQ(manager.disablePowerOp(), -1);
    EXPECT_EQ(logged().at(0).at("ERROR"), "sd_bus_call: System.Error.ELOOP: "
                                          "Too many levels of symbolic links");
    sd_bus_unref(shared);
}

TEST_F(OwnService, IsWaitedForInVainByItsOwnThread)
{
    sd_bus* other = nullptr;
    support::checkedSystemd(sd_bus_open(&other), "sd_bus_open");
    const support::BusPointer connection(other);
    own(other);
    sd_bus* shared = nullptr;
    support::checkedSystemd(sd_bus_default(&shared), "sd_bus_default");
    sd_bus_set_method_call_timeout(shared, 50'000);
    EXPECT_EQ(manager.disablePowerOp(), -1);
    EXPECT_TRUE(logged().at(0).at("ERROR").starts_with(
        "sd_bus_call: org.freedesktop.DBus.Error.Timeout: "));
    sd_bus_unref(shared);
}

/** In place of the test's journal, one whose queue is full and that takes
 *  nothing in. */
class StoppedJournal
{
  public:
    StoppedJournal()
    {
        sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
        std::strcpy(address.sun_path, path);
        support::checked(rename(path, aside), "move the journal aside");
        const auto* const where = reinterpret_cast<const sockaddr*>(&address);
        support::checked(bind(journal.get(), where, sizeof(address)), "bind");
        const support::Descriptor sender(newSocket());
        while (sendto(sender.get(), "A=", 2, MSG_DONTWAIT, where,
                      sizeof(address)) == 2)
        {
        }
    }

    ~StoppedJournal()
    {
        static_cast<void>(rename(aside, path));
    }

    StoppedJournal(const StoppedJournal&) = delete;
    StoppedJournal& operator=(const StoppedJournal&) = delete;

    void goOn() const
    {
        char byte = 0;
        while (recv(journal.get(), &byte, 1, MSG_DONTWAIT) > 0)
        {
        }
    }

  private:
    static int newSocket()
    {
        return support::checked(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0),
                                "socket");
    }

    static constexpr auto path = "/run/systemd/journal/socket";
    static constexpr auto aside = "/run/systemd/journal/aside";
    support::Descriptor journal{newSocket()};
};

/** Whether a process sleeps, and not on a disk: S in /proc/PID/stat. */
bool sleeps(pid_t process)
{
    std::ifstream stat("/proc/" + std::to_string(process) + "/stat");
    std::string text;
    std::getline(stat, text);
    const auto state = text.rfind(") ");
    return state != std::string::npos && text[state + 2] == 'S';
}

TEST_F(Surroundings, StoppedJournalHoldsASaveBackBeforeItSaves)
{
    const StoppedJournal stopped;
    const support::Gate started;
    support::SharedMemory<pid_t> process;
    support::Child child([&] {
        *process = getpid();
        started.open();
        return manager.saveUpdateState("Updating");
    });
    ASSERT_TRUE(started.pass());
    ASSERT_TRUE(await([&] { return sleeps(*process); }));
    EXPECT_FALSE(std::filesystem::exists(stateFile));

    stopped.goOn();
    EXPECT_EQ(child.wait(), 0);
    EXPECT_EQ(manager.readUpdateState(), "Updating");
}

} // namespace
