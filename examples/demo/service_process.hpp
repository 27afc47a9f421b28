// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/caller.hpp"
#include "support/child.hpp"
#include "support/descriptor.hpp"

#include <filesystem>
#include <string>
#include <vector>

namespace demo
{

/** The update daemon, a separate process that is called on the bus. */
class ServiceProcess
{
  public:
    /** Starts it, and returns once it owns its name.
     *  @throws std::runtime_error with its output if it does not */
    explicit ServiceProcess(const std::filesystem::path& program);

    /**
     * Calls `METHOD FIRMWARE ARGUMENTS`, or looks at the properties of the
     * object for `Show FIRMWARE`, and waits for the answer.
     *
     * @return the reply, "done" for one without a body, or the error; or a
     *         line for each property
     */
    std::vector<std::string> ask(const std::string& request);

    /** Ends it as systemd does, and waits for its end. Shows its output if it
     *  fails. @return as support::Child::wait() */
    int end();

  private:
    std::string written() const;

    support::Descriptor output;
    support::Child process;
    support::Caller caller;
};

} // namespace demo
