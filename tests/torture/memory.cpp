#include "allocations.hpp"
#include "experiments.hpp"
#include "operations.hpp"
#include "support/child.hpp"

#include <libostrel.h>

#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace torture
{

namespace
{

using phosphor::software::updater::FwManager;

constexpr auto outOfMemory = "threw std::bad_alloc";

/** What a child saw, in memory that both see. */
struct Seen
{
    bool failed;
    long blocksLeft;
    std::array<char, 256> told;
};

/** The store's functions in turn, without the library. */
std::string useStore(FwManager&)
{
    const auto failure = [](const char* function) {
        return std::string(function) + " " + ::strerrorname_np(errno);
    };
    json_config_t* const config =
        json_config_load("/usr/share/firmware/version.json",
                         "/run/lock/firmware/version.lock", 0);
    if (config == nullptr)
    {
        return failure("load");
    }
    const bool set = json_config_set_string(config, "BMC", "key", "new") == 0;
    const std::string afterSet = set ? "" : failure("set");
    const bool released = json_config_release(config) == 0;
    return !set ? afterSet : released ? "0" : failure("release");
}

Operation storeOperation()
{
    Operation store = operations().front();
    store.name = "store";
    store.run = useStore;
    return store;
}

/** What an operation may tell when memory runs out. */
bool isHonest(const Operation& operation, const Outcome& seen)
{
    const bool told = seen.told == operation.refused.told ||
                      seen.told == outOfMemory || seen.told == "load ENOMEM" ||
                      seen.told == "set ENOMEM" ||
                      seen.told == "release ENOMEM";
    return seen == operation.unharmed ||
           (told && std::ranges::find(operation.interrupted, seen.files) !=
                        operation.interrupted.end());
}

class Shortage
{
  public:
    Shortage(const Operation& examined, const Plan& how, Report& to) :
        operation(examined),
        plan(how),
        report(to),
        seen(static_cast<Seen*>(::mmap(nullptr, sizeof(Seen),
                                       PROT_READ | PROT_WRITE,
                                       MAP_SHARED | MAP_ANONYMOUS, -1, 0)))
    {
        attempt(SIZE_MAX - 1, false);
        keptBlocks = seen->blocksLeft;
    }

    ~Shortage()
    {
        ::munmap(seen, sizeof(Seen));
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
            const size_t before = allocations::blocks();
            allocations::failAfter(number, fromThereOn);
            try
            {
                operation.run(manager).copy(seen->told.data(),
                                            seen->told.size() - 1);
                allocations::succeed();
            }
            catch (const std::exception& e)
            {
                allocations::succeed();
                ("threw " + std::string(e.what()))
                    .copy(seen->told.data(), seen->told.size() - 1);
            }
            if (plan.breaks("leak") && allocations::failed())
            {
                leaked = new char;
            }
            seen->failed = allocations::failed();
            seen->blocksLeft = static_cast<long>(allocations::blocks()) -
                               static_cast<long>(before);
            return 0;
        });
        return child.wait();
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
        const Outcome outcome{seen->told.data(), operation.look()};
        if (status != 0 || !isHonest(operation, outcome))
        {
            lose(where, "status " + std::to_string(status) + ", told " +
                            outcome.told + ", files " + outcome.files);
        }
        if (seen->blocksLeft > keptBlocks)
        {
            lose(where, std::to_string(seen->blocksLeft - keptBlocks) +
                            " blocks leaked");
        }
        expectTheNextWorks(where);
        return true;
    }

    void expectTheNextWorks(const std::string& where)
    {
        const bool clean = !temporaryLeft();
        operation.repair();
        FwManager manager("BMC");
        const Outcome next{tell(operation, manager), operation.look()};
        if (!clean || next != operation.unharmed)
        {
            lose(where, "the next told " + next.told + ", files " + next.files);
        }
    }

    void lose(const std::string& where, const std::string& what)
    {
        report.loss(std::string(operation.name) + ", " + where + ": " + what);
    }

    const Operation& operation;
    const Plan& plan;
    Report& report;
    Seen* const seen;
    const char* leaked = nullptr;
    long keptBlocks = 0;
};

void run(const Plan& plan, Report& report)
{
    // What is allocated once in a process.
    for (const auto& operation : operations())
    {
        operation.prepare();
        operation.arrive();
        FwManager manager("BMC");
        static_cast<void>(tell(operation, manager));
    }
    const Operation store = storeOperation();
    Shortage(store, plan, report).run();
    for (const auto& operation : operations())
    {
        Shortage(operation, plan, report).run();
    }
}

} // namespace

Experiment memory()
{
    return {
        .name = "memory",
        .claim = "whichever allocation fails, it is told and nothing is lost",
        .sabotages = {"leak"},
        .run = run,
    };
}

} // namespace torture
