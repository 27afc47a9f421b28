// SPDX-License-Identifier: Apache-2.0
#include "bus_end.hpp"

#include "judgement.hpp"

#include <poll.h>

#include <thread>

namespace torture::bus
{

namespace
{

using phosphor::software::updater::FwManager;
using support::Answer;

/** Ends the bus when a call arrives, at the latest when it is destroyed. */
class EndingDuringTheCall
{
  public:
    EndingDuringTheCall(support::PrivateBus& bus,
                        support::FakeServices& services) :
        thread([&](const std::stop_token& over) {
            while (services.takeCalls().empty() && !over.stop_requested())
            {
                ::poll(nullptr, 0, 1);
            }
            bus.stop();
        })
    {
    }

  private:
    std::jthread thread;
};

/** Calls an operation and checks that it ends as expected. */
class Caller
{
  public:
    Caller(Bench& theBench, const Operation& theOperation, Report& theReport) :
        bench(theBench), operation(theOperation), report(theReport)
    {
    }

    void call(FwManager& manager, const std::string& when, const Ending& ending)
    {
        const std::string object(operation.object);
        judge(report, std::string(operation.name) + ", " + when,
              bench.observe(manager, operation, object, "text"), operation,
              ending, object, "text");
        report.count("calls around the end of the bus");
    }

  private:
    Bench& bench;
    const Operation& operation;
    Report& report;
};

Ending closed()
{
    return fails("sd_bus_call: ");
}

Ending never()
{
    return leaves("sd_bus_message_new_method_call: ");
}

void endDuringTheCall(Bench& bench, const Operation& operation, Caller caller)
{
    auto& services = bench.newServices(operation);
    services.answer(std::string(operation.path) + std::string(operation.object),
                    "", Answer::never());
    FwManager before("Host");
    const EndingDuringTheCall end(bench.systemBus(), services);
    caller.call(before, "the bus ends during the call", closed());
}

void endBetweenTheCalls(Bench& bench, const Operation& operation, Caller caller)
{
    FwManager before("Host");
    bench.systemBus().stop();
    bench.removeServices();
    caller.call(before, "the bus ended before", closed());
    caller.call(before, "the bus is still stopped", closed());
    FwManager meanwhile("Host");
    caller.call(meanwhile, "another manager without a bus", never());

    bench.systemBus().start();
    bench.newServices(operation);
    caller.call(before, "the bus is back, the manager is old", closed());
    FwManager beside("Host");
    caller.call(beside, "a new manager beside an old one", never());
}

void callAfterwards(Caller caller)
{
    FwManager after("Host");
    caller.call(after, "a new manager after the end of the old ones", Ending());
}

void startWithoutABus(Bench& bench, const Operation& operation, Caller caller)
{
    bench.systemBus().stop();
    bench.removeServices();
    FwManager early("Host");
    caller.call(early, "a manager made without a bus", never());
    bench.systemBus().start();
    bench.newServices(operation);
    caller.call(early, "the bus comes after the manager", never());
    FwManager beside("Host");
    caller.call(beside, "a new manager beside one without a bus", Ending());
}

} // namespace

void endTheBus(Bench& bench, const Operation& operation, Report& report)
{
    const Caller caller(bench, operation, report);
    bench.heal(operation);
    endDuringTheCall(bench, operation, caller);
    bench.systemBus().start();

    bench.heal(operation);
    endBetweenTheCalls(bench, operation, caller);
    callAfterwards(caller);

    bench.heal(operation);
    startWithoutABus(bench, operation, caller);
}

} // namespace torture::bus
