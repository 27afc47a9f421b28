// SPDX-License-Identifier: Apache-2.0

// Run by the tests of lg2's copy on standard error.

#include <phosphor-logging/lg2.hpp>

#include <string>

int main()
{
    lg2::error("Set {NAME} failed", "NAME", std::string("BMC"));
}
