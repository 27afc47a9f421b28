#include "support/checked.hpp"
#include "support/child.hpp"
#include "support/descriptor.hpp"

#include <gtest/gtest.h>
#include <phosphor-logging/lg2.hpp>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string>

using support::checked;
using support::Child;
using support::Descriptor;

/*
 * A program of its own, in which only children log: they find nothing that an
 * earlier record may have kept of the environment.
 */
namespace
{

void logAnError()
{
    lg2::error("Set {NAME} failed", "NAME", "BMC");
}

constexpr int lineOfTheError = __LINE__ - 3;

/** What a child writes to its standard error by logging. */
std::string copyOf(Descriptor readEnd, Descriptor standardError,
                   const char* force, const char* format)
{
    Child child([&] {
        checked(dup2(standardError.get(), STDERR_FILENO), "dup2");
        unsetenv("LG2_FORCE_STDERR");
        unsetenv("LG2_FORMAT");
        if (force != nullptr)
        {
            setenv("LG2_FORCE_STDERR", force, 1);
        }
        if (format != nullptr)
        {
            setenv("LG2_FORMAT", format, 1);
        }
        logAnError();
        return 0;
    });
    EXPECT_EQ(child.wait(), 0);
    standardError = Descriptor();

    std::string text;
    std::array<char, 512> bytes{};
    ssize_t size = 0;
    while ((size = read(readEnd.get(), bytes.data(), bytes.size())) > 0)
    {
        text.append(bytes.data(), static_cast<std::size_t>(size));
    }
    return text;
}

std::string copyToPipe(const char* force, const char* format)
{
    std::array<int, 2> ends{};
    checked(pipe2(ends.data(), O_CLOEXEC), "pipe2");
    return copyOf(Descriptor(ends[0]), Descriptor(ends[1]), force, format);
}

std::string copyToTerminal(const char* format)
{
    Descriptor master(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    checked(grantpt(master.get()), "grantpt");
    checked(unlockpt(master.get()), "unlockpt");
    Descriptor terminal(
        open(ptsname(master.get()), O_RDWR | O_NOCTTY | O_CLOEXEC));
    checked(terminal.get(), "open the terminal");
    return copyOf(std::move(master), std::move(terminal), nullptr, format);
}

TEST(Lg2StandardError, NoCopyGoesElsewhereThanToATerminal)
{
    EXPECT_EQ(copyToPipe(nullptr, nullptr), "");
    EXPECT_EQ(copyToPipe(nullptr, "%m"), "");
}

TEST(Lg2StandardError, CopyIsForcedByTheEnvironment)
{
    EXPECT_EQ(copyToPipe("1", nullptr), "<3> Set BMC failed\n");
}

TEST(Lg2StandardError, TerminalGetsACopy)
{
    EXPECT_EQ(copyToTerminal(nullptr), "<3> Set BMC failed\r\n");
}

TEST(Lg2StandardError, FormatIsTakenFromTheEnvironment)
{
    EXPECT_EQ(copyToPipe("1", "%m|%l|%%"), "Set BMC failed|3|%\n");
}

TEST(Lg2StandardError, FormatKnowsTheLocation)
{
    const std::string copy = copyToPipe("1", "%F:%L:%f");

    EXPECT_NE(copy.find("lg2_standard_error_test.cpp:" +
                        std::to_string(lineOfTheError) + ':'),
              std::string::npos)
        << copy;
    EXPECT_NE(copy.find("logAnError"), std::string::npos) << copy;
}

} // namespace
