// SPDX-License-Identifier: Apache-2.0
#include "interruption.hpp"

#include <algorithm>
#include <iterator>

namespace torture
{

using phosphor::software::updater::FwManager;

Interruption interrupt(const Operation& operation, size_t number,
                       const std::function<bool(const SystemCall&)>& broken,
                       const std::function<void()>& end)
{
    FwManager manager("BMC");
    Supervised child([&] { return resultOf(operation, manager); });
    auto call = child.next();
    for (size_t seen = 0; call && seen < number; call = child.next(), ++seen)
    {
        broken(*call) ? child.pretend(0) : child.proceed();
    }
    end();
    const auto reported = child.result();
    child.kill();
    child.wait();
    const std::string moment =
        call ? "at " + call->text() + " (call " + std::to_string(number) + ")"
             : "after its end";
    return {call, moment, reported};
}

std::vector<std::string> faultsAfter(const Operation& operation,
                                     const Interruption& interruption)
{
    std::vector<std::string> faults;
    const auto& reported = interruption.reported;
    if (!reported && !interruption.call)
    {
        faults.emplace_back("died by itself");
    }
    const std::string files = operation.look();
    const bool good = reported
                          ? Outcome{*reported, files} == operation.unharmed
                          : std::ranges::find(operation.interrupted, files) !=
                                operation.interrupted.end();
    if (!good)
    {
        faults.push_back("files " + files);
    }
    if (!lockIsFree())
    {
        faults.emplace_back("lock kept");
    }
    if (!stateDirectoryIsTidy())
    {
        faults.emplace_back("more left than the temporary file");
    }
    std::ranges::copy(faultsOfTheNext(operation), std::back_inserter(faults));
    return faults;
}

} // namespace torture
