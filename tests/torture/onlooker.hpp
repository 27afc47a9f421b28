#pragma once

#include "experiment.hpp"
#include "support/child.hpp"
#include "support/shared_memory.hpp"

#include <atomic>
#include <string>

namespace torture
{

/** How often somebody looked. */
using Looks = std::atomic<size_t>;

// What follows goes on until it is killed, or sees what is not to be seen.

/** Reads with the lock, as the library does, what is always there. */
int readOn(Looks& looks);

/** Reads without the lock: never a document that is not whole. */
int readFreely(Looks& looks);

/** While flock(1) holds the lock nobody changes the file. */
int holdOn(Looks& looks);

/** Writes the document as nobody should: in place, without the lock. */
int writeInPlace();

/** A process that looks on for as long as others write. */
class Onlooker
{
  public:
    Onlooker(std::string what, int (*look)(Looks&));

    /** Ends it once it has got its turns. A loss is what it saw, and that it
     *  did not get them. */
    void finish(const std::string& who, Report& report);

  private:
    const std::string name;
    const support::SharedMemory<Looks> looks;
    support::Child child;
};

} // namespace torture
