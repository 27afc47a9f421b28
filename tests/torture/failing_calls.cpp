// SPDX-License-Identifier: Apache-2.0
#include "experiments.hpp"
#include "operations.hpp"
#include "supervised.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <set>

namespace torture
{

namespace
{

using phosphor::software::updater::FwManager;

/** Not an errno value: a write writes only one byte, and every later write
 *  finds the disk full. */
constexpr int shortWrite = 0;

/** Calls of the allocator and of locks within the process. The experiment
 *  "memory" covers their failures. */
bool isOfMemory(std::string_view call)
{
    static const std::set<std::string_view> names{
        "brk", "mmap", "munmap", "mremap", "madvise", "mprotect", "futex"};
    return names.contains(call);
}

/** A place in an operation, and what goes wrong there. */
struct Fault
{
    size_t call = SIZE_MAX;
    int error = 0;
    bool fromThereOn = false;
};

/** One run of an operation, and what it did to its process. */
struct Run
{
    std::vector<SystemCall> calls;
    std::vector<SystemCall> spoiled;
    std::optional<std::string> reported;
    size_t descriptorsBefore = 0;
    size_t descriptorsAfter = 0;
    bool lockFree = true;
    int status = 0;
};

bool isBroken(const Plan& plan, const std::string& call)
{
    return (plan.breaks("no-unlink") && call == "remove") ||
           (plan.breaks("no-close") && call == "close") ||
           (plan.breaks("no-fsync") && call == "fsync");
}

/** Decides on a call. @return whether it is spoiled */
bool decide(Supervised& child, const SystemCall& call, const Plan& plan,
            const Fault& fault, size_t number)
{
    const bool struck =
        !isOfMemory(call.name) &&
        (number == fault.call || (fault.fromThereOn && number > fault.call));
    if (isBroken(plan, call.name))
    {
        child.pretend(0);
    }
    else if (!struck)
    {
        child.proceed();
    }
    else if (fault.error != shortWrite)
    {
        child.fail(fault.error);
    }
    else if (number == fault.call)
    {
        child.writeOneByte(call);
    }
    else if (call.name == "write")
    {
        child.fail(ENOSPC);
    }
    else
    {
        child.proceed();
        return false;
    }
    return struck;
}

Run runOnce(const Operation& operation, const Plan& plan, const Fault& fault)
{
    FwManager manager("BMC");
    Supervised child([&] { return resultOf(operation, manager); });
    Run run;
    while (const auto call = child.next())
    {
        if (run.calls.empty())
        {
            run.descriptorsBefore = child.descriptors().size();
        }
        if (decide(child, *call, plan, fault, run.calls.size()))
        {
            run.spoiled.push_back(*call);
        }
        run.calls.push_back(*call);
    }
    run.reported = child.result();
    if (run.reported)
    {
        run.descriptorsAfter = child.descriptors().size();
        run.lockFree = lockIsFree();
    }
    run.status = child.wait();
    return run;
}

/** The special failure of a call or of a short write, or null. */
const SpecialFailure* specialFailureOf(const Operation& operation,
                                       const std::vector<SystemCall>& calls,
                                       size_t number,
                                       std::string_view prefix = "")
{
    const auto& call = calls[number];
    const auto occurrence = static_cast<size_t>(std::count_if(
        calls.begin(), calls.begin() + static_cast<long>(number) + 1,
        [&](const SystemCall& other) { return call.isLike(other); }));
    const auto special = std::ranges::find_if(
        operation.specialFailures, [&](const SpecialFailure& it) {
            return it.isAbout(std::string(prefix) + call.name, call.path,
                              occurrence);
        });
    return special != operation.specialFailures.end() ? &*special : nullptr;
}

/** How the operation ends when this call fails, or this write is short. */
const Outcome& outcomeOf(const Operation& operation,
                         const std::vector<SystemCall>& calls, size_t number,
                         std::string_view prefix = "")
{
    if (const SpecialFailure* const special =
            specialFailureOf(operation, calls, number, prefix))
    {
        return special->outcome;
    }
    return isOfMemory(calls[number].name) ? operation.unharmed
                                          : operation.refused;
}

/** Those whose call the operation does not make. */
std::vector<const SpecialFailure*>
unusedFailures(const Operation& operation, const std::vector<SystemCall>& calls)
{
    std::set<const SpecialFailure*> used;
    for (size_t number = 0; number < calls.size(); ++number)
    {
        used.insert(specialFailureOf(operation, calls, number));
        if (calls[number].name == "write")
        {
            used.insert(specialFailureOf(operation, calls, number, "short "));
        }
    }
    std::vector<const SpecialFailure*> unused;
    for (const SpecialFailure& special : operation.specialFailures)
    {
        if (!used.contains(&special))
        {
            unused.push_back(&special);
        }
    }
    return unused;
}

/** What a fault may lead to. */
std::vector<Outcome> allowed(const Operation& operation,
                             const std::vector<SystemCall>& calls,
                             const Fault& fault)
{
    // The calls that are repeated when a signal interrupts them.
    static const std::set<std::string> repeated{"flock", "read", "write",
                                                "copy"};
    const bool isRepeated = repeated.contains(calls[fault.call].name);
    const bool isShort = fault.error == shortWrite;
    if (isShort && fault.fromThereOn)
    {
        return {outcomeOf(operation, calls, fault.call, "short ")};
    }
    if (isShort || (fault.error == EINTR && isRepeated))
    {
        return {operation.unharmed};
    }
    if (!fault.fromThereOn)
    {
        return {outcomeOf(operation, calls, fault.call)};
    }
    std::vector<Outcome> outcomes;
    for (size_t number = fault.call; number < calls.size(); ++number)
    {
        const auto& outcome = outcomeOf(operation, calls, number);
        if (outcome != operation.unharmed)
        {
            outcomes.push_back(outcome);
            if (operation.lasting.empty())
            {
                return outcomes;
            }
        }
    }
    if (outcomes.empty())
    {
        return {operation.unharmed};
    }
    std::ranges::copy(operation.lasting, std::back_inserter(outcomes));
    return outcomes;
}

class Examination
{
  public:
    Examination(const Operation& examined, const Plan& how, Report& to) :
        operation(examined), plan(how), report(to)
    {
    }

    void run()
    {
        const Run whole = runAfter({});
        expect({operation.unharmed}, whole, "no fault");
        for (const auto* const special : unusedFailures(operation, whole.calls))
        {
            report.loss("no call " + special->text() + " in operation " +
                        std::string(operation.name));
        }
        for (size_t call = 0; call < whole.calls.size(); ++call)
        {
            if (isOfMemory(whole.calls[call].name))
            {
                continue;
            }
            report.count("calls");
            // The library handles these two differently.
            for (const int error : plan.quick
                                       ? std::vector{EIO, EINTR}
                                       : std::vector{EIO, ENOSPC, EROFS, EINTR,
                                                     EMFILE, ENOMEM, EACCES})
            {
                strike(whole.calls, {call, error, false});
                if (error != EINTR)
                {
                    strike(whole.calls, {call, error, true});
                }
            }
            if (whole.calls[call].name == "write")
            {
                strike(whole.calls, {call, shortWrite, false});
                strike(whole.calls, {call, shortWrite, true});
            }
        }
    }

  private:
    Run runAfter(const Fault& fault)
    {
        operation.prepare();
        operation.arrive();
        report.count("runs");
        return runOnce(operation, plan, fault);
    }

    void strike(const std::vector<SystemCall>& calls, const Fault& fault)
    {
        const auto& call = calls[fault.call];
        const auto what =
            call.text() + " (call " + std::to_string(fault.call) + ") " +
            (fault.error == shortWrite ? "is short"
                                       : ::strerrorname_np(fault.error)) +
            (fault.fromThereOn ? " and all after" : "");
        const Run after = runAfter(fault);
        if (after.spoiled.empty() || !after.spoiled.front().isLike(call))
        {
            lose(what, "the fault did not happen");
        }
        expect(allowed(operation, calls, fault), after, what);
        expectNothingLeft(after, what);
        for (const auto& wrong : faultsOfTheNext(operation))
        {
            lose(what, wrong);
        }
    }

    void expect(const std::vector<Outcome>& outcomes, const Run& run,
                const std::string& what)
    {
        const Outcome seen{run.reported.value_or("(died)"), operation.look()};
        if (run.status != 0 ||
            std::ranges::find(outcomes, seen) == outcomes.end())
        {
            lose(what, "reported " + seen.reported + ", files " + seen.files);
        }
    }

    void expectNothingLeft(const Run& run, const std::string& what)
    {
        const auto spoiled = [&](const char* name) {
            return static_cast<size_t>(
                std::ranges::count(run.spoiled, name, &SystemCall::name));
        };
        if (run.descriptorsAfter > run.descriptorsBefore + spoiled("close"))
        {
            lose(what, "descriptor leaked");
        }
        if (!run.lockFree && spoiled("close") == 0)
        {
            lose(what, "lock kept");
        }
        if (temporaryLeft() && spoiled("remove") == 0)
        {
            lose(what, "temporary left");
        }
    }

    void lose(const std::string& fault, const std::string& what)
    {
        report.loss(std::string(operation.name) + ", " + fault + ": " + what);
    }

    const Operation& operation;
    const Plan& plan;
    Report& report;
};

void runFailingCalls(const Plan& plan, Report& report)
{
    // A process connects to the journal only once.
    FwManager("BMC").saveUpdateState("unused");
    for (const auto& operation : operations())
    {
        Examination(operation, plan, report).run();
    }
}

} // namespace

Experiment failingCalls()
{
    return {
        .name = "failing-calls",
        .claim = "a system call that fails loses nothing, and the failure is "
                 "reported",
        .sabotages = {"no-fsync", "no-unlink", "no-close"},
        .run = runFailingCalls,
    };
}

} // namespace torture
