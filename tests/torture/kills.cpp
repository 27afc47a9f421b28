// SPDX-License-Identifier: Apache-2.0
#include "deadline.hpp"
#include "experiments.hpp"
#include "interruption.hpp"
#include "supervised.hpp"
#include "support/child.hpp"
#include "support/shared_memory.hpp"

#include <array>
#include <atomic>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <memory>
#include <random>

namespace torture
{

namespace
{

using phosphor::software::updater::FwManager;

constexpr std::array sabotages{"no-rename", "no-unlink", "no-lock"};

/** The system calls that a sabotage skips, by what they do. */
std::string brokenCall(const Plan& plan)
{
    return plan.breaks("no-rename")   ? "rename"
           : plan.breaks("no-unlink") ? "remove"
           : plan.breaks("no-lock")   ? "flock"
                                      : "";
}

/** @return whether there was a call of this number to kill it at */
bool killAt(size_t number, const Operation& operation, const Plan& plan,
            Report& report)
{
    operation.prepare();
    operation.arrive();
    const auto killed = interrupt(
        operation, number,
        [&](const SystemCall& call) { return call.name == brokenCall(plan); },
        [] {});
    report.count("kills");
    for (const auto& fault : faultsAfter(operation, killed))
    {
        report.loss(std::string(operation.name) + ", killed " + killed.moment +
                    ": " + fault);
    }
    return killed.call.has_value();
}

void killAtEachCall(const Plan& plan, Report& report)
{
    for (const auto& operation : operations())
    {
        for (size_t number = 0; killAt(number, operation, plan, report);
             ++number)
        {
        }
    }
}

/** The progress of a writer, in memory that outlives it. */
struct Progress
{
    std::atomic<int> tried;
    std::atomic<int> acknowledged;
    std::atomic<int> refused;
};

constexpr size_t writers = 4;
using Board = std::array<Progress, writers>;

std::string keyOf(size_t writer)
{
    return "writer " + std::to_string(writer);
}

/** Saves 1, 2, 3 and so on without end. */
int write(size_t writer, Progress& progress, const std::string& broken)
{
    if (!broken.empty())
    {
        swallow(broken);
    }
    FwManager manager("BMC");
    for (int number = progress.acknowledged + 1;; ++number)
    {
        progress.tried = number;
        if (manager.saveVersionStringFromInfo(keyOf(writer),
                                              std::to_string(number)) == 0)
        {
            progress.acknowledged = number;
        }
        else
        {
            ++progress.refused;
        }
    }
}

class LoadedWriters
{
  public:
    LoadedWriters(const Plan& plan, Report& to) :
        broken(brokenCall(plan)), report(to)
    {
        for (size_t writer = 0; writer < writers; ++writer)
        {
            start(writer);
        }
    }

    ~LoadedWriters()
    {
        for (auto& child : children)
        {
            child.reset();
        }
    }

    LoadedWriters(const LoadedWriters&) = delete;
    LoadedWriters& operator=(const LoadedWriters&) = delete;

    void killOne()
    {
        const size_t victim = random() % writers;
        const std::array<timespec, 1> moment{
            {{0, static_cast<long>(random() % 1'000'000)}}};
        ::nanosleep(moment.data(), nullptr);
        children[victim]->signal(SIGKILL);
        children[victim]->wait();
        report.count("kills under load");
        examine(victim);
        start(victim);
    }

    [[nodiscard]] size_t saves() const
    {
        size_t all = 0;
        for (const auto& progress : *board)
        {
            all += static_cast<size_t>(progress.acknowledged);
        }
        return all;
    }

  private:
    void start(size_t writer)
    {
        children[writer] = std::make_unique<support::Child>(
            [=, this] { return write(writer, (*board)[writer], broken); });
    }

    void examine(size_t victim)
    {
        Progress& progress = (*board)[victim];
        FwManager manager("BMC");
        const std::string found =
            manager.getVersionStringFromInfo(keyOf(victim));
        const int value = found.empty() ? 0 : std::stoi(found);
        if (value != progress.acknowledged && value != progress.tried)
        {
            report.loss("killed under load: " + std::to_string(value) +
                        " found, " + std::to_string(progress.acknowledged) +
                        " acknowledged");
        }
        progress.acknowledged = value;
        if (const int refused = progress.refused.exchange(0); refused != 0)
        {
            report.loss("killed under load: " + std::to_string(refused) +
                        " saves refused");
        }
        if (!stateDirectoryIsTidy())
        {
            report.loss("killed under load: more left than the temporary file");
        }
    }

    const std::string broken;
    Report& report;
    const support::SharedMemory<Board> board;
    std::array<std::unique_ptr<support::Child>, writers> children;
    std::mt19937 random;
};

void killUnderLoad(const Plan& plan, Report& report)
{
    // A lock that is never released ends the whole run.
    constexpr unsigned patienceSeconds = 120;
    const size_t times = plan.quick ? 1'000 : 20'000;
    std::filesystem::remove_all("/usr/share/firmware");
    LoadedWriters load(plan, report);
    for (size_t time = 0; time < times; ++time)
    {
        const Deadline deadline(patienceSeconds);
        load.killOne();
    }
    report.count("saves acknowledged", load.saves());
}

void run(const Plan& plan, Report& report)
{
    const int rounds = plan.quick ? 1 : 10;
    for (int round = 0; round < rounds; ++round)
    {
        killAtEachCall(plan, report);
    }
    killUnderLoad(plan, report);
}

} // namespace

Experiment kills()
{
    return {
        .name = "kills",
        .claim = "whenever a process is killed, what was acknowledged stays",
        .sabotages = {sabotages.begin(), sabotages.end()},
        .run = run,
    };
}

} // namespace torture
