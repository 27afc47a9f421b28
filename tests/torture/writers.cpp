// SPDX-License-Identifier: Apache-2.0
#include "deadline.hpp"
#include "experiments.hpp"
#include "onlooker.hpp"
#include "supervised.hpp"
#include "support/child.hpp"
#include "support/descriptor.hpp"

#include <libfenmarch.hpp>
#include <libostrel.h>

#include <fcntl.h>

#include <array>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <memory>
#include <thread>

namespace torture
{

namespace
{

using phosphor::software::updater::FwManager;
using support::Child;

constexpr auto stateFile = "/usr/share/firmware/version.json";
constexpr auto stateLock = "/run/lock/firmware/version.lock";
// A lock that is never released ends the whole run.
constexpr unsigned patienceSeconds = 120;

constexpr int good = 0;
constexpr int bad = 1;

struct Size
{
    size_t writers;
    size_t saves;
};

std::string keyOf(size_t writer, size_t number)
{
    return std::to_string(writer) + "/" + std::to_string(number);
}

/** Saves keys of its own, each once, and one key that all writers save. */
int write(size_t writer, size_t saves)
{
    FwManager manager("BMC");
    for (size_t number = 0; number < saves; ++number)
    {
        if (manager.saveVersionStringFromInfo(keyOf(writer, number), "saved") !=
                0 ||
            manager.saveVersionStringFromInfo("shared",
                                              std::to_string(writer)) != 0)
        {
            return bad;
        }
    }
    return good;
}

/** From now on signals arrive repeatedly and interrupt calls that wait. */
void startStorm()
{
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    ::sigaction(SIGALRM, &action, nullptr);
    constexpr timeval often{0, 50};
    const itimerval timer{often, often};
    ::setitimer(ITIMER_REAL, &timer, nullptr);
}

void startAnew()
{
    std::filesystem::remove_all("/usr/share/firmware");
    FwManager("BMC").saveVersionStringFromInfo("shared", "nobody");
}

/** Finds every save of every writer, while others only read. */
void expectAllSaved(const std::string& who, const Size& size, Report& report)
{
    const std::unique_ptr<json_config_t, decltype(&json_config_release)> config(
        json_config_load(stateFile, nullptr, 0), &json_config_release);
    std::array<char, 256> value{};
    for (size_t writer = 0; writer < size.writers; ++writer)
    {
        for (size_t number = 0; number < size.saves; ++number)
        {
            report.count("saves");
            if (config == nullptr ||
                json_config_get_string(config.get(), "BMC",
                                       keyOf(writer, number).c_str(),
                                       value.data(), value.size()) != 0)
            {
                report.loss(who + ": update " + keyOf(writer, number) +
                            " lost");
            }
        }
    }
}

void processes(const Plan& plan, Size size, bool underSignals, Report& report)
{
    const std::string who =
        underSignals ? "processes under signals" : "processes";
    startAnew();
    Onlooker readers("reads", readOn);
    Onlooker freeReaders("reads without the lock", readFreely);
    Onlooker holders("locks of flock(1)", holdOn);
    std::unique_ptr<Child> vandal;
    if (plan.breaks("in-place"))
    {
        vandal = std::make_unique<Child>(writeInPlace);
    }
    std::vector<std::unique_ptr<Child>> children;
    for (size_t writer = 0; writer < size.writers; ++writer)
    {
        children.push_back(std::make_unique<Child>([&, writer] {
            if (plan.breaks("no-lock"))
            {
                swallow("flock");
            }
            if (underSignals)
            {
                startStorm();
            }
            return write(writer, size.saves);
        }));
    }
    for (auto& child : children)
    {
        if (child->wait() != good)
        {
            report.loss(who + ": a save was refused");
        }
    }
    readers.finish(who, report);
    freeReaders.finish(who, report);
    holders.finish(who, report);
    vandal.reset();
    expectAllSaved(who, size, report);
}

void threads(const Plan& plan, Size size, Report& report)
{
    startAnew();
    // In a separate process, so that a sabotage affects only that one.
    Child child([&] {
        if (plan.breaks("no-lock"))
        {
            swallow("flock");
        }
        std::atomic<int> refused = 0;
        std::vector<std::thread> all;
        for (size_t writer = 0; writer < size.writers; ++writer)
        {
            all.emplace_back(
                [&, writer] { refused += write(writer, size.saves); });
        }
        for (auto& thread : all)
        {
            thread.join();
        }
        return refused == 0 ? good : bad;
    });
    if (child.wait() != good)
    {
        report.loss("threads: a save was refused");
    }
    expectAllSaved("threads", size, report);
}

bool flockFindsItFree()
{
    return support::run({"flock", "--nonblock", stateLock, "true"}).status == 0;
}

/** A process started while a handle is open inherits nothing from it. */
void forksAndExecs(const Plan& plan, size_t rounds, Report& report)
{
    startAnew();
    const support::Descriptor inherited(
        plan.breaks("inherited") ? ::open(stateFile, O_RDONLY) : -1);
    for (size_t round = 0; round < rounds; ++round)
    {
        json_config_t* const config = json_config_load(stateFile, stateLock, 0);
        if (flockFindsItFree())
        {
            report.loss("an open handle has no lock");
        }
        const support::Gate gate;
        Child forked([&] { return gate.pass() ? good : bad; });
        const auto executed =
            support::run({"sh", "-c", "ls -l /proc/self/fd | grep -c version"});
        const int set = json_config_set_string(config, "BMC", "round",
                                               std::to_string(round).c_str());
        if (json_config_release(config) != 0 || set != 0)
        {
            report.loss("a handle open over fork and exec is refused");
        }
        if (executed.output != "0\n")
        {
            report.loss("a descriptor is inherited over exec");
        }
        if (!flockFindsItFree())
        {
            report.loss("a forked child keeps the lock");
        }
        gate.open();
        forked.wait();
        report.count("forks and execs");
    }
}

void run(const Plan& plan, Report& report)
{
    const Size size = plan.quick ? Size{4, 100} : Size{8, 400};
    const Deadline deadline(plan.quick ? patienceSeconds : 5 * patienceSeconds);
    processes(plan, size, false, report);
    processes(plan, size, true, report);
    threads(plan, size, report);
    forksAndExecs(plan, plan.quick ? 10 : 200, report);
}

} // namespace

Experiment writers()
{
    return {
        .name = "writers",
        .claim =
            "many writers lose no update, and no reader sees a torn document",
        .sabotages = {"no-lock", "in-place", "inherited"},
        .run = run,
    };
}

} // namespace torture
