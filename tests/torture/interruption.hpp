#pragma once

#include "operations.hpp"
#include "supervised.hpp"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace torture
{

/** An operation that ended for good before one of its system calls. */
struct Interruption
{
    /** None when there was no call of that number. */
    std::optional<SystemCall> call;
    /** "at fsync of /etc (call 7)", or "after its end". */
    std::string moment;
    /** What the operation told; nothing when it had not returned. */
    std::optional<std::string> told;
};

/**
 * Runs an operation in a process of its own and kills it there.
 *
 * @param number  of the call, from 0
 * @param broken  whether a call is not made but seems to have worked
 * @param end     what happens while the call waits, before the process dies
 */
Interruption interrupt(const Operation& operation, size_t number,
                       const std::function<bool(const SystemCall&)>& broken,
                       const std::function<void()>& end);

/** Looks at what an interrupted operation left, and runs it again.
 *  @return what is wrong, each in a few words */
std::vector<std::string> faultsAfter(const Operation& operation,
                                     const Interruption& interruption);

} // namespace torture
