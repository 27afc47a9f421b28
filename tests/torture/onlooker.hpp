// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "experiment.hpp"
#include "support/child.hpp"
#include "support/shared_memory.hpp"

#include <atomic>
#include <string>

namespace torture
{

/** How often an onlooker has looked. */
using Looks = std::atomic<size_t>;

// Each function runs until it is killed or sees what must not be seen.

/** Reads with the lock, as the library does, a record that always exists. */
int readOn(Looks& looks);

/** Reads without the lock: every document must be complete. */
int readFreely(Looks& looks);

/** Holds the lock with flock(1): the file must not change meanwhile. */
int holdOn(Looks& looks);

/** Writes the document in the wrong way: in place and without the lock. */
int writeInPlace();

/** A process that watches while others write. */
class Onlooker
{
  public:
    Onlooker(std::string what, int (*look)(Looks&));

    /** Ends the process once it has looked often enough. Reports a loss if it
     *  saw one, or if it could not look often enough. */
    void finish(const std::string& who, Report& report);

  private:
    const std::string name;
    const support::SharedMemory<Looks> looks;
    support::Child child;
};

} // namespace torture
