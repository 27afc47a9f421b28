// SPDX-License-Identifier: Apache-2.0
#include "support/checked.hpp"
#include "support/child.hpp"
#include "support/descriptor.hpp"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string>

using support::checked;
using support::Child;
using support::Descriptor;

/*
 * lg2 decides once whether it copies, when a program is loaded. So each test
 * runs a program that logs one error.
 */
namespace
{

constexpr auto variable = "LG2_FORCE_STDERR";

/** What the program writes, standard error being a pipe. */
std::string copyToPipe()
{
    const auto outcome = support::run({LOG_AN_ERROR});
    EXPECT_EQ(outcome.status, 0);
    return outcome.output;
}

std::string copyToTerminal()
{
    const Descriptor master(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    checked(grantpt(master.get()), "grantpt");
    checked(unlockpt(master.get()), "unlockpt");
    Descriptor terminal(
        open(ptsname(master.get()), O_RDWR | O_NOCTTY | O_CLOEXEC));
    checked(terminal.get(), "open the terminal");

    Child child([&] {
        checked(dup2(terminal.get(), STDERR_FILENO), "dup2");
        return execl(LOG_AN_ERROR, LOG_AN_ERROR, nullptr);
    });
    EXPECT_EQ(child.wait(), 0);
    terminal = Descriptor();

    std::string text;
    std::array<char, 512> bytes{};
    ssize_t size = 0;
    while ((size = read(master.get(), bytes.data(), bytes.size())) > 0)
    {
        text.append(bytes.data(), static_cast<std::size_t>(size));
    }
    return text;
}

TEST(Lg2StandardError, NoCopyGoesElsewhereThanToATerminal)
{
    unsetenv(variable);

    EXPECT_EQ(copyToPipe(), "");
}

TEST(Lg2StandardError, CopyIsForcedByTheEnvironment)
{
    setenv(variable, "1", 1);

    EXPECT_EQ(copyToPipe(), "<3> Set BMC failed\n");
}

TEST(Lg2StandardError, TerminalGetsACopy)
{
    unsetenv(variable);

    EXPECT_EQ(copyToTerminal(), "<3> Set BMC failed\r\n");
}

} // namespace
