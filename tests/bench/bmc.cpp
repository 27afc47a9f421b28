// SPDX-License-Identifier: Apache-2.0

// Runs a command on a BMC apart from this machine: in the sandbox, with a bus
// and the services on it.

#include "support/child.hpp"
#include "support/fake_services.hpp"
#include "support/private_bus.hpp"
#include "support/sandbox.hpp"

#include <chrono>
#include <exception>
#include <iostream>

int main(int argc, char** argv)
try
{
    support::enterSandbox();
    const support::PrivateBus bus;
    support::FakeServices services;
    // So that each caller of the object waits, and none now and then.
    services.answer("/xyz/openbmc_project/software/bmc_active", "Version",
                    support::Answer::late(std::chrono::milliseconds(5)));
    const auto outcome = support::run({argv + 1, argv + argc});
    std::cout << outcome.output;
    return outcome.status;
}
catch (const std::exception& problem)
{
    std::cerr << problem.what() << '\n';
    return 1;
}
