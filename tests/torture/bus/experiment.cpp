// SPDX-License-Identifier: Apache-2.0
#include "torture/experiment.hpp"

#include "bench.hpp"
#include "bus_end.hpp"
#include "judgement.hpp"
#include "torture/experiments.hpp"

#include <algorithm>

namespace torture
{

namespace
{

using namespace bus;
using phosphor::software::updater::FwManager;

constexpr auto ordinaryText = "text";
constexpr size_t mebibyte = 1'048'576;

void runCell(Bench& bench, const Operation& operation, const Misbehaviour& how,
             const Ending& ending, Report& report)
{
    const std::string cell =
        std::string(operation.name) + ", " + std::string(how.name);
    const std::string ordinary(operation.object);
    const std::string object = how.object.value_or(ordinary);
    const std::string text = how.text.value_or(ordinaryText);

    bench.misbehave(operation, how);
    FwManager manager("Host");
    setTimeOut(how.timesOut ? shortTimeOutMicroseconds
                            : longTimeOutMicroseconds);
    judge(report, cell, bench.observe(manager, operation, object, text),
          operation, ending, object, text);

    bench.heal(operation);
    setTimeOut(longTimeOutMicroseconds);
    const Ending after = how.disconnects ? fails("sd_bus_call: ") : Ending();
    judge(report, cell + ", the next call",
          bench.observe(manager, operation, ordinary, ordinaryText), operation,
          after, ordinary, ordinaryText);
    report.count("cells");
}

bool isFirstOfItsColumn(const Operation& operation)
{
    return &operation == &*std::ranges::find(operations(), operation.column,
                                             &Operation::column);
}

bool applies(const Misbehaviour& how, const Operation& operation)
{
    const bool named = !operation.object.empty();
    const bool reached = !operation.second || how.peer == Peer::lives;
    return how.endings.contains(operation.column) && reached &&
           (named || !how.object);
}

void run(const Plan& plan, Report& report)
{
    const auto spare = [&](const Operation& operation) {
        return plan.quick && !isFirstOfItsColumn(operation);
    };
    Bench bench(plan);
    for (const auto& how :
         misbehaviours(plan.quick ? 2 * mebibyte : 20 * mebibyte))
    {
        for (const auto& operation : operations())
        {
            if (applies(how, operation) && !(how.slow && spare(operation)))
            {
                runCell(bench, operation, how, how.endings.at(operation.column),
                        report);
            }
        }
    }
    for (const auto& operation : operations())
    {
        if (!operation.second && !spare(operation))
        {
            endTheBus(bench, operation, report);
        }
    }
}

} // namespace

Experiment misbehavingBus()
{
    return {
        .name = "bus",
        .claim =
            "whatever the bus does, each call ends and reports as it should",
        .sabotages = {"obedient-services", "swallowed-journal",
                      "leaked-message"},
        .run = run,
    };
}

} // namespace torture
