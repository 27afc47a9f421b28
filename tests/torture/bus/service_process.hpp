// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "misbehaviours.hpp"
#include "support/child.hpp"

namespace torture::bus
{

/** The services in a separate process, as on a real machine. */
class ServiceProcess
{
  public:
    /** Returns once the process owns the names. */
    ServiceProcess(const Operation& operation, Peer peer);

    /** Lets a stopped one go on. */
    void goOn() const;

  private:
    support::Gate ready;
    support::Child process;
};

/** How long a call waits for an answer that does not come. */
inline constexpr uint64_t shortTimeOutMicroseconds = 50'000;

} // namespace torture::bus
