// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "operations.hpp"
#include "supervised.hpp"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace torture
{

/** An operation whose process was killed before one of its system calls. */
struct Interruption
{
    /** None when there was no call of that number. */
    std::optional<SystemCall> call;
    /** "at fsync of /etc (call 7)", or "after its end". */
    std::string moment;
    /** The result of the operation; nothing if it had not returned. */
    std::optional<std::string> reported;
};

/**
 * Runs an operation in a process of its own and kills it there.
 *
 * @param number  of the call, from 0
 * @param broken  whether a call is skipped and seems to have worked
 * @param end     what happens while the call waits, before the process is
 *                killed
 */
Interruption interrupt(const Operation& operation, size_t number,
                       const std::function<bool(const SystemCall&)>& broken,
                       const std::function<void()>& end);

/** Checks what an interrupted operation left, and runs it again.
 *  @return the faults that this finds, each in a few words */
std::vector<std::string> faultsAfter(const Operation& operation,
                                     const Interruption& interruption);

} // namespace torture
