#include "checked.hpp"
#include "child.hpp"
#include "descriptor.hpp"
#include "mounts.hpp"
#include "sandbox.hpp"

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <set>
#include <string>
#include <vector>

using support::checked;
using support::Child;
using support::Descriptor;
using support::enterSandbox;
using support::Isolation;

namespace fs = std::filesystem;

namespace
{

constexpr uid_t nobody = 65534;

constexpr std::array fixedPaths{
    "/etc/bios-release",           "/etc/default/firmware",
    "/usr/share/firmware",         "/run/lock/firmware",
    "/run/systemd/journal/socket", "/run/dbus/system_bus_socket",
};

/** What the function returns, or the text of what it throws, in a child that
 *  exits as an ordinary process does. */
std::string inChild(const std::function<std::string()>& work)
{
    const Descriptor result(memfd_create("result", MFD_CLOEXEC));
    checked(result.get(), "memfd_create");
    Child child([&]() -> int {
        std::string text;
        try
        {
            text = work();
        }
        catch (const std::exception& e)
        {
            text = e.what();
        }
        checked(write(result.get(), text.data(), text.size()), "write");
        std::exit(0);
    });
    const int status = child.wait();
    std::array<char, 4096> text{};
    const auto size =
        checked(pread(result.get(), text.data(), text.size(), 0), "pread");
    const std::string outcome(text.data(), static_cast<std::size_t>(size));
    return status == 0 ? outcome
                       : outcome + " (status " + std::to_string(status) + ")";
}

void becomeOrdinaryUser()
{
    if (geteuid() == 0)
    {
        checked(setresgid(nobody, nobody, nobody), "setresgid");
        checked(setresuid(nobody, nobody, nobody), "setresuid");
        // A process that changed its user may not write its own maps else.
        checked(prctl(PR_SET_DUMPABLE, 1), "prctl");
    }
}

std::string nameOf(Isolation isolation)
{
    switch (isolation)
    {
        case Isolation::overlay:
            return "overlay";
        case Isolation::mirrors:
            return "mirrors";
        case Isolation::inPlace:
            return "inPlace";
    }
    return "";
}

/** How the kernel lets this user be set apart. */
std::string isolationHere()
{
    return inChild([] { return nameOf(enterSandbox()); });
}

std::string isolationOfOrdinaryUser()
{
    return inChild([] {
        becomeOrdinaryUser();
        return nameOf(enterSandbox());
    });
}

void writeText(const fs::path& path, const std::string& text)
{
    fs::create_directories(path.parent_path());
    std::ofstream(path) << text;
}

std::string readText(const fs::path& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string firstFixedPathThatExists()
{
    for (const char* path : fixedPaths)
    {
        if (fs::exists(fs::symlink_status(path)))
        {
            return path;
        }
    }
    return "";
}

const std::vector<fs::path> writtenFiles{
    "/etc/bios-release",
    "/etc/default/firmware/sandbox_test",
    "/usr/share/firmware/sandbox_test",
    "/run/lock/firmware/sandbox_test",
    "/run/systemd/journal/sandbox_test",
    "/run/dbus/sandbox_test",
};

/** Writes below every fixed path; the result is the file that fails, if any. */
std::string writeFixedPaths()
{
    for (const auto& path : writtenFiles)
    {
        writeText(path, "sandbox_test");
        if (readText(path) != "sandbox_test")
        {
            return path.string() + " cannot be written";
        }
    }
    return "";
}

std::string fileWrittenOnHost()
{
    for (const auto& path : writtenFiles)
    {
        if (readText(path) == "sandbox_test")
        {
            return path;
        }
    }
    return "";
}

std::set<std::string> namesIn(const fs::path& directory)
{
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(directory))
    {
        names.insert(entry.path().filename());
    }
    return names;
}

/** The entries of a directory, without the fixed paths. */
std::set<std::string> hostNamesIn(const fs::path& directory)
{
    std::set<std::string> names = namesIn(directory);
    for (const fs::path path : fixedPaths)
    {
        if (path.parent_path() == directory)
        {
            names.erase(path.filename());
        }
    }
    return names;
}

/** As each kind of user that this test can be. */
class SandboxFor : public testing::TestWithParam<Isolation>
{
  protected:
    void SetUp() override
    {
        if (GetParam() == Isolation::overlay && isolationHere() != "overlay")
        {
            GTEST_SKIP() << "no overlay for this user on this kernel";
        }
        if (GetParam() == Isolation::mirrors &&
            isolationOfOrdinaryUser() != "mirrors")
        {
            GTEST_SKIP() << "no user namespaces on this kernel";
        }
    }

    static Isolation enter()
    {
        if (GetParam() == Isolation::mirrors)
        {
            becomeOrdinaryUser();
        }
        return enterSandbox();
    }
};

INSTANTIATE_TEST_SUITE_P(Sandbox, SandboxFor,
                         testing::Values(Isolation::overlay,
                                         Isolation::mirrors),
                         [](const auto& way) { return nameOf(way.param); });

TEST_P(SandboxFor, HasTheFixedPathsWritableAndTheHostUntouched)
{
    EXPECT_EQ(inChild([] {
                  enter();
                  return writeFixedPaths();
              }),
              "");
    EXPECT_EQ(fileWrittenOnHost(), "");
}

TEST_P(SandboxFor, BeginsWithoutTheFixedPathsOfItsHost)
{
    EXPECT_EQ(inChild([]() -> std::string {
                  enter();
                  writeFixedPaths();
                  // Now this sandbox is the host of another.
                  enterSandbox();
                  return firstFixedPathThatExists();
              }),
              "");
}

TEST_P(SandboxFor, HasAFreshRunWithNothingButAnEmptyLock)
{
    EXPECT_EQ(inChild([]() -> std::string {
                  enter();
                  if (namesIn("/run") != std::set<std::string>{"lock"})
                  {
                      return "/run holds something else";
                  }
                  return fs::is_empty("/run/lock") ? "" : "/run/lock is used";
              }),
              "");
}

TEST_P(SandboxFor, ShowsTheRestOfTheHost)
{
    const fs::path host[] = {"/etc", "/etc/default", "/usr/share"};
    for (const auto& directory : host)
    {
        const auto expected = hostNamesIn(directory);
        EXPECT_EQ(inChild([&]() -> std::string {
                      enter();
                      return namesIn(directory) == expected ? "" : "differs";
                  }),
                  "")
            << directory;
    }
    const std::string users = readText("/etc/passwd");
    ASSERT_NE(users, "");
    EXPECT_EQ(inChild([&]() -> std::string {
                  enter();
                  return readText("/etc/passwd") == users ? "" : "differs";
              }),
              "");
}

TEST_P(SandboxFor, KeepsItsProcesses)
{
    const std::string name = readText("/proc/self/comm");
    ASSERT_NE(name, "");

    EXPECT_EQ(inChild([]() -> std::string {
                  enter();
                  std::ofstream("/dev/null") << "x";
                  return readText("/proc/self/comm");
              }),
              name);
}

TEST_P(SandboxFor, CanBeUsedWithChildrenOfItsOwn)
{
    EXPECT_EQ(inChild([] {
                  enter();
                  writeFixedPaths();
                  return inChild([] { return readText("/etc/bios-release"); });
              }),
              "sandbox_test");
}

TEST_P(SandboxFor, ThrowsWhenItIsSetApartByHalf)
{
    EXPECT_EQ(inChild([]() -> std::string {
                  enter();
                  fs::create_directory("/run/lock/proc");
                  support::bindMount("/proc", "/run/lock/proc");
                  // No mount point: nothing below can be made private.
                  checked(chroot("/run/lock"), "chroot");
                  enterSandbox();
                  return "goes on";
              }),
              "make the mounts private: Invalid argument");
}

TEST(Sandbox, KeepsTheTreesAsTheyAre)
{
    if (isolationHere() == "inPlace")
    {
        GTEST_SKIP() << "no namespaces on this kernel";
    }
    std::string file = fs::path(SANDBOX_BUILD_DIR) / "sandbox_test.XXXXXX";
    const Descriptor created(mkstemp(file.data()));
    if (!created)
    {
        GTEST_SKIP() << "the build tree is not writable for this user";
    }

    const std::string outcome = inChild([&]() -> std::string {
        enterSandbox();
        writeText(file, "from inside");
        return fs::exists(SANDBOX_SOURCE_DIR) ? "" : "no source tree";
    });

    EXPECT_EQ(outcome, "");
    EXPECT_EQ(readText(file), "from inside");
    fs::remove(file);
}

TEST(Sandbox, KeepsChangesElsewhereFromTheHostOfRoot)
{
    if (isolationHere() != "overlay")
    {
        GTEST_SKIP() << "no overlay for this user on this kernel";
    }
    std::string kept = "/var/sandbox_test.XXXXXX";
    std::string hidden = "/tmp/sandbox_test.XXXXXX";
    const Descriptor keptFile(mkstemp(kept.data()));
    const Descriptor hiddenFile(mkstemp(hidden.data()));
    ASSERT_TRUE(keptFile && hiddenFile);

    const std::string outcome = inChild([&]() -> std::string {
        enterSandbox();
        return !fs::remove(kept)    ? "the file is not seen"
               : fs::exists(hidden) ? "/tmp is not fresh"
                                    : "";
    });

    EXPECT_EQ(outcome, "");
    EXPECT_TRUE(fs::remove(kept));
    EXPECT_TRUE(fs::remove(hidden));
}

/** Inside a sandbox that is the host, with no further namespaces to get. */
class SandboxInPlace : public testing::Test
{
  protected:
    void SetUp() override
    {
        // Else the limit below would be the one of the whole machine.
        if (isolationOfOrdinaryUser() != "mirrors")
        {
            GTEST_SKIP() << "no user namespaces on this kernel";
        }
    }

    static void becomeRootWithoutNamespaces()
    {
        becomeOrdinaryUser();
        enterSandbox();
        writeText("/proc/sys/user/max_mnt_namespaces", "0");
    }
};

TEST_F(SandboxInPlace, RemovesAtExitWhatWasMade)
{
    EXPECT_EQ(inChild([]() -> std::string {
                  becomeRootWithoutNamespaces();
                  const std::string outcome = inChild([] {
                      const std::string way = nameOf(enterSandbox());
                      return way + writeFixedPaths();
                  });
                  if (outcome != "inPlace")
                  {
                      return outcome;
                  }
                  if (fs::exists("/run/dbus") || fs::exists("/run/systemd"))
                  {
                      return "directories are left";
                  }
                  return firstFixedPathThatExists();
              }),
              "");
}

TEST_F(SandboxInPlace, KeepsWhatItMadeWhenAChildExits)
{
    EXPECT_EQ(inChild([] {
                  becomeRootWithoutNamespaces();
                  enterSandbox();
                  writeFixedPaths();
                  inChild([] { return ""; });
                  return readText("/etc/bios-release");
              }),
              "sandbox_test");
}

TEST_F(SandboxInPlace, RefusesAHostThatHasAFixedPath)
{
    for (const std::string path : fixedPaths)
    {
        EXPECT_EQ(inChild([&]() -> std::string {
                      becomeRootWithoutNamespaces();
                      writeText(path, "the host's");
                      const std::string outcome =
                          inChild([] { return nameOf(enterSandbox()); });
                      return readText(path) == "the host's" ? outcome : "gone";
                  }),
                  "cannot run in place: " + path + " exists on this host");
    }
}

TEST_F(SandboxInPlace, WaitsForAnotherProgramInPlace)
{
    EXPECT_EQ(inChild([]() -> std::string {
                  becomeRootWithoutNamespaces();
                  support::Gate entered;
                  support::Gate leave;
                  Child first([&]() -> int {
                      enterSandbox();
                      writeFixedPaths();
                      entered.open();
                      std::exit(leave.pass() ? 0 : 1);
                  });
                  if (!entered.pass())
                  {
                      return "the first does not enter";
                  }
                  Child second([] {
                      return enterSandbox() == Isolation::inPlace ? 0 : 1;
                  });
                  if (!second.waitsForLock())
                  {
                      return "the second does not wait";
                  }
                  leave.open();
                  return first.wait() == 0 && second.wait() == 0 ? "" : "fails";
              }),
              "");
}

} // namespace
