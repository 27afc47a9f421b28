// SPDX-License-Identifier: Apache-2.0
#include "allocations.hpp"
#include "experiments.hpp"
#include "memory_operations.hpp"
#include "support/child.hpp"
#include "support/descriptor.hpp"
#include "support/shared_memory.hpp"

#include <fcntl.h>
#include <sys/file.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <iterator>
#include <stdexcept>

namespace torture
{

namespace
{

using phosphor::software::updater::FwManager;

/** What a child saw, in memory that it shares with its parent. */
struct Seen
{
    bool failed;
    long blocksLeft;
    long descriptorsLeft;
    bool lockFree;
    std::array<char, 256> reported;
};

bool isOutOfMemory(const std::string& reported)
{
    return reported == "threw std::bad_alloc" || reported.ends_with(" ENOMEM");
}

/** Whether an operation may end like this when memory runs out. */
bool isHonest(const Operation& operation, const Outcome& seen)
{
    const auto isOneOf = [](const auto& known, const auto& it) {
        return std::ranges::find(known, it) != known.end();
    };
    return seen == operation.unharmed || seen == operation.refused ||
           isOneOf(operation.shortOfMemory, seen) ||
           (isOutOfMemory(seen.reported) &&
            isOneOf(operation.interrupted, seen.files));
}

long openDescriptors()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                         {});
}

/** Open until the process ends. */
int lockDescriptor()
{
    static const support::Descriptor lock(::open(
        "/run/lock/firmware/version.lock", O_RDONLY | O_CREAT | O_CLOEXEC, 0));
    return lock.get();
}

class Shortage
{
  public:
    Shortage(const Operation& examined, const Plan& how, Report& to) :
        operation(examined), plan(how), report(to)
    {
        if (attempt(SIZE_MAX - 1, false) != 0)
        {
            throw std::runtime_error(std::string(operation.name) +
                                     " died by itself");
        }
        keptBlocks = seen->blocksLeft;
    }

    Shortage(const Shortage&) = delete;
    Shortage& operator=(const Shortage&) = delete;

    void run()
    {
        for (const bool fromThereOn : {false, true})
        {
            for (size_t number = 0; strike(number, fromThereOn); ++number)
            {
            }
        }
    }

  private:
    /** @return how the child ended */
    int attempt(size_t number, bool fromThereOn)
    {
        operation.prepare();
        operation.arrive();
        *seen = {};
        FwManager manager("BMC");
        support::Child child([&] {
            if (plan.breaks("kept-lock"))
            {
                lockDescriptor();
            }
            const long descriptors = openDescriptors();
            const size_t blocks = allocations::blocks();
            allocations::failAfter(number, fromThereOn);
            runOnce(manager);
            seen->failed = allocations::failed();
            breakIt();
            seen->blocksLeft = static_cast<long>(allocations::blocks()) -
                               static_cast<long>(blocks);
            seen->descriptorsLeft = openDescriptors() - descriptors;
            seen->lockFree = lockIsFree();
            return 0;
        });
        return child.wait();
    }

    void runOnce(FwManager& manager)
    {
        try
        {
            const std::string reported = operation.run(manager);
            allocations::succeed();
            record(reported);
        }
        catch (const std::exception& e)
        {
            allocations::succeed();
            record("threw " + std::string(e.what()));
        }
    }

    void record(const std::string& text)
    {
        seen->reported = {};
        text.copy(seen->reported.data(), seen->reported.size() - 1);
    }

    void breakIt()
    {
        if (!seen->failed)
        {
            return;
        }
        if (plan.breaks("leak"))
        {
            leaked = new char;
        }
        if (plan.breaks("kept-lock"))
        {
            ::flock(lockDescriptor(), LOCK_EX | LOCK_NB);
        }
        if (plan.breaks("swallowed-failure"))
        {
            record(operation.unharmed.reported);
        }
    }

    /** @return whether there was an allocation of this number */
    bool strike(size_t number, bool fromThereOn)
    {
        const int status = attempt(number, fromThereOn);
        if (status == 0 && !seen->failed)
        {
            return false;
        }
        report.count("failed allocations");
        const std::string where = "allocation " + std::to_string(number) +
                                  (fromThereOn ? " and all after" : "");
        const Outcome outcome{seen->reported.data(), operation.look()};
        if (status != 0 || !isHonest(operation, outcome))
        {
            lose(where, "status " + std::to_string(status) + ", reported " +
                            outcome.reported + ", files " + outcome.files);
        }
        if (status == 0)
        {
            expectNothingLeft(where);
        }
        for (const auto& fault : faultsOfTheNext(operation))
        {
            lose(where, fault);
        }
        return status == 0;
    }

    void expectNothingLeft(const std::string& where)
    {
        if (seen->blocksLeft > keptBlocks)
        {
            lose(where, std::to_string(seen->blocksLeft - keptBlocks) +
                            " blocks leaked");
        }
        if (seen->descriptorsLeft != 0)
        {
            lose(where, "descriptor leaked");
        }
        if (!seen->lockFree)
        {
            lose(where, "lock kept");
        }
        if (temporaryLeft())
        {
            lose(where, "temporary left");
        }
    }

    void lose(const std::string& where, const std::string& what)
    {
        report.loss(std::string(operation.name) + ", " + where + ": " + what);
    }

    const Operation& operation;
    const Plan& plan;
    Report& report;
    const support::SharedMemory<Seen> seen;
    const char* leaked = nullptr;
    long keptBlocks = 0;
};

void run(const Plan& plan, Report& report)
{
    // Makes the allocations that a process makes only once.
    const auto all = operationsOnMemory();
    for (const auto& operation : all)
    {
        operation.prepare();
        operation.arrive();
        FwManager manager("BMC");
        static_cast<void>(resultOf(operation, manager));
    }
    for (const auto& operation : all)
    {
        Shortage(operation, plan, report).run();
    }
}

} // namespace

Experiment memory()
{
    return {
        .name = "memory",
        .claim = "an allocation that fails is reported, and nothing is lost",
        .sabotages = {"leak", "kept-lock", "swallowed-failure"},
        .run = run,
    };
}

} // namespace torture
