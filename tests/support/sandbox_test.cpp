// SPDX-License-Identifier: Apache-2.0
#include "checked.hpp"
#include "child.hpp"
#include "descriptor.hpp"
#include "mounts.hpp"
#include "sandbox.hpp"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
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

constexpr auto whatToDo =
    "\nRun it as root; in a container made by docker run with --cap-add "
    "SYS_ADMIN --security-opt apparmor=unconfined; or, as root, on the "
    "machine's own files: with --in-place, or LIBFENMARCH_IN_PLACE=1.";

/** What the function returns, or the text of what it throws, in a child that
 *  exits as an ordinary process does and was not asked to stay in place. */
std::string inChild(const std::function<std::string()>& work)
{
    const Descriptor result(memfd_create("result", MFD_CLOEXEC));
    checked(result.get(), "memfd_create");
    Child child([&] {
        unsetenv(support::inPlaceVariable);
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
        return 0;
    });
    const int status = child.wait();
    std::array<char, 65536> text{};
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

/** How the kernel allows this user to be isolated. */
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

bool canBeSetApart()
{
    const std::string isolation = isolationHere();
    return isolation == "overlay" || isolation == "mirrors";
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
        const std::string isolation = GetParam() == Isolation::overlay
                                          ? isolationHere()
                                          : isolationOfOrdinaryUser();
        if (isolation != nameOf(GetParam()))
        {
            GTEST_SKIP() << "needs " << nameOf(GetParam()) << ", has "
                         << isolation;
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

constexpr auto plainRoot = "/run/lock/root";

/** Makes a plain directory show the directories of this root. */
void makePlainRoot()
{
    fs::create_directories(plainRoot + std::string("/run"));
    for (const auto& entry : fs::directory_iterator("/"))
    {
        const fs::path target = plainRoot / entry.path().relative_path();
        if (entry.is_symlink())
        {
            fs::copy_symlink(entry.path(), target);
        }
        else if (entry.is_directory() && entry.path() != "/run")
        {
            fs::create_directory(target);
            support::bindMount(entry.path(), target);
        }
    }
}

/** The root is no mount point then. */
void enterPlainRoot()
{
    checked(chroot(plainRoot), "chroot");
    checked(chdir("/"), "chdir");
}

TEST_P(SandboxFor, CanBeEnteredFromAChroot)
{
    EXPECT_EQ(inChild([]() -> std::string {
                  enter();
                  makePlainRoot();
                  enterPlainRoot();
                  writeText("/run/of_the_chroot", "");
                  enterSandbox();
                  if (fs::exists("/run/of_the_chroot"))
                  {
                      return "/run is not fresh";
                  }
                  const std::string existing = firstFixedPathThatExists();
                  return existing + writeFixedPaths();
              }),
              "");
}

TEST_P(SandboxFor, IsNotSeenOutsideOfAChrootWhoseMountsAreShared)
{
    EXPECT_EQ(inChild([]() -> std::string {
                  enter();
                  makePlainRoot();
                  checked(
                      mount(nullptr, "/", "none", MS_REC | MS_SHARED, nullptr),
                      "share the mounts");
                  const std::string mounts = readText("/proc/self/mountinfo");
                  const std::string outcome = inChild([] {
                      enterPlainRoot();
                      enterSandbox();
                      return readText("/proc/self/mountinfo");
                  });
                  return outcome.find("tmpfs") == std::string::npos ? outcome
                         : readText("/proc/self/mountinfo") == mounts
                             ? ""
                             : "mounts are seen outside";
              }),
              "");
}

TEST_P(SandboxFor, NeedsProcInAChroot)
{
    EXPECT_EQ(inChild([]() -> std::string {
                  enter();
                  checked(chroot("/run/lock"), "chroot");
                  enterSandbox();
                  return "goes on";
              }),
              std::string("this machine gives no sandbox: open "
                          "/proc/self/ns/mnt: No such file or directory") +
                  whatToDo);
}

/** The system call fails in this process from now on, as the filter of a
 *  container or a security module has it. */
void refuse(unsigned call, unsigned error)
{
    std::array program{
        sock_filter BPF_STMT(BPF_LD | BPF_W | BPF_ABS,
                             offsetof(seccomp_data, nr)),
        sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1),
        sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | error),
        sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog filter{program.size(), program.data()};
    checked(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), "no new privileges");
    checked(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter), "seccomp");
}

bool callsCanBeRefused()
{
    return inChild([] {
               refuse(SYS_unshare, EPERM);
               return "there";
           }) == "there";
}

TEST(RefusedSandbox, ReportsWhatIsMissingAndWhatToDo)
{
    if (!callsCanBeRefused())
    {
        GTEST_SKIP() << "no seccomp on this kernel";
    }
    EXPECT_EQ(inChild([] {
                  refuse(SYS_unshare, EPERM);
                  return nameOf(enterSandbox());
              }),
              std::string("this machine gives no sandbox: mount namespace: "
                          "Operation not permitted") +
                  whatToDo);
}

TEST_P(SandboxFor, SaysWhatToDoWhereMountsAreRefused)
{
    if (!callsCanBeRefused())
    {
        GTEST_SKIP() << "no seccomp on this kernel";
    }
    EXPECT_EQ(inChild([] {
                  refuse(SYS_mount, EACCES);
                  return nameOf(enter());
              }),
              std::string("this machine gives no sandbox: make the "
                          "mounts private: Permission denied") +
                  whatToDo);
}

TEST(RefusedSandbox, IsNamedWhereAUserNamespaceGivesNoRights)
{
    if (geteuid() != 0 || isolationOfOrdinaryUser() != "mirrors")
    {
        GTEST_SKIP() << "needs root that becomes an ordinary user";
    }
    EXPECT_EQ(inChild([] {
                  becomeOrdinaryUser();
                  // Its own maps are not this process's to write then.
                  checked(prctl(PR_SET_DUMPABLE, 0), "prctl");
                  return nameOf(enterSandbox());
              }),
              std::string("this machine gives no sandbox: open "
                          "/proc/self/setgroups: Permission denied") +
                  whatToDo);
}

/** What the check before the build says, after its exit status. */
std::string checkBeforeTheBuild()
{
    const support::ProcessResult outcome =
        support::run({SANDBOX_SOURCE_DIR "/tests/support/check_sandbox"});
    return std::to_string(outcome.status) + ": " + outcome.output;
}

TEST(CheckBeforeTheBuild, IsSilentIfASandboxIsPossible)
{
    if (!canBeSetApart())
    {
        GTEST_SKIP() << isolationHere();
    }
    EXPECT_EQ(inChild([] { return checkBeforeTheBuild(); }), "0: ");
}

TEST_P(SandboxFor, IsFoundInAChrootByTheCheckBeforeTheBuild)
{
    EXPECT_EQ(inChild([]() -> std::string {
                  enter();
                  makePlainRoot();
                  enterPlainRoot();
                  return checkBeforeTheBuild();
              }),
              "0: ");
}

TEST(CheckBeforeTheBuild, ReportsRefusedNamespacesInTheSameWay)
{
    if (!callsCanBeRefused())
    {
        GTEST_SKIP() << "no seccomp on this kernel";
    }
    EXPECT_EQ(inChild([] {
                  refuse(SYS_unshare, EPERM);
                  return checkBeforeTheBuild();
              }),
              std::string("1: this machine gives no sandbox: unshare failed: "
                          "Operation not permitted") +
                  whatToDo + '\n');
}

TEST_P(SandboxFor, IsMissedByTheCheckBeforeTheBuildWhereMountsAreRefused)
{
    if (!callsCanBeRefused())
    {
        GTEST_SKIP() << "no seccomp on this kernel";
    }
    const std::string said = inChild([] {
        if (GetParam() == Isolation::mirrors)
        {
            becomeOrdinaryUser();
        }
        refuse(SYS_mount, EACCES);
        return checkBeforeTheBuild();
    });
    EXPECT_EQ(said.substr(0, said.find('\n')),
              "1: this machine gives no sandbox: cannot change root filesystem "
              "propagation: Permission denied");
}

TEST(Sandbox, KeepsTheTreesAsTheyAre)
{
    if (!canBeSetApart())
    {
        GTEST_SKIP() << isolationHere();
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

/** Inside a sandbox that plays the host. */
class InPlace : public testing::Test
{
  protected:
    static constexpr auto record = "/etc/libfenmarch-in-place";

    void SetUp() override
    {
        if (!canBeSetApart())
        {
            GTEST_SKIP() << isolationHere();
        }
    }

    /** What the function returns on a host of its own. */
    static std::string onHost(const std::function<std::string()>& work)
    {
        return inChild([&] {
            enterSandbox();
            return work();
        });
    }

    static Isolation stay()
    {
        setenv(support::inPlaceVariable, "1", 1);
        return enterSandbox();
    }

    /** What is left of a run in place, if anything. */
    static std::string left()
    {
        for (const char* path : {"/run/dbus", "/run/systemd", record})
        {
            if (fs::exists(path))
            {
                return path;
            }
        }
        return firstFixedPathThatExists();
    }

    /** The status with which a program ends, and what is left of it then. */
    static std::string endOf(Child& program)
    {
        const int status = program.wait();
        return std::to_string(status) + left();
    }

    /** Stays in place, writes the fixed paths, opens the gate and waits for its
     *  end by a signal. */
    static int writeAndWait(const support::Gate& written)
    {
        stay();
        writeFixedPaths();
        written.open();
        while (true)
        {
            pause();
        }
    }
};

TEST_F(InPlace, RemovesAtExitWhatWasMade)
{
    EXPECT_EQ(onHost([]() -> std::string {
                  const std::string outcome = inChild([] {
                      const std::string way = nameOf(stay());
                      return way + writeFixedPaths();
                  });
                  return outcome == "inPlace" ? left() : outcome;
              }),
              "");
}

TEST_F(InPlace, EndsAsTheProgramEnds)
{
    EXPECT_EQ(onHost([] {
                  Child program([] {
                      stay();
                      return 7;
                  });
                  return endOf(program);
              }),
              "7");
}

TEST_F(InPlace, RemovesWhatWasMadeWhenASignalEndsIt)
{
    for (const int number : {SIGINT, SIGQUIT, SIGTERM, SIGHUP})
    {
        EXPECT_EQ(onHost([&]() -> std::string {
                      const support::Gate written;
                      Child program([&] {
                          // nohup and "&" of a shell have it ignored.
                          std::signal(number, SIG_DFL);
                          return writeAndWait(written);
                      });
                      if (!written.pass())
                      {
                          return "it does not write";
                      }
                      program.signal(number);
                      return endOf(program);
                  }),
                  std::to_string(-number));
    }
}

TEST_F(InPlace, RemovesWhatWasMadeWhenItCrashes)
{
    EXPECT_EQ(onHost([] {
                  Child program([]() -> int {
                      stay();
                      writeFixedPaths();
                      std::abort();
                  });
                  return endOf(program);
              }),
              std::to_string(-SIGABRT));
}

TEST_F(InPlace, EndsWhatTheProgramLeftRunning)
{
    if (prctl(PR_SET_CHILD_SUBREAPER, 0) != 0)
    {
        GTEST_SKIP() << "no subreaper on this kernel";
    }
    EXPECT_EQ(onHost([]() -> std::string {
                  const auto left = std::stoi(inChild([] {
                      stay();
                      const pid_t child = checked(fork(), "fork");
                      while (child == 0)
                      {
                          pause();
                      }
                      return std::to_string(child);
                  }));
                  return kill(left, SIGKILL) == 0 ? "it still runs" : "";
              }),
              "");
}

TEST_F(InPlace, NamesAndRemovesWhatAKilledRunLeft)
{
    EXPECT_EQ(onHost([]() -> std::string {
                  const support::Gate written;
                  Child killed([&] { return writeAndWait(written); });
                  if (!written.pass())
                  {
                      return "it does not write";
                  }
                  killed.signal(SIGKILL);
                  killed.wait();
                  if (firstFixedPathThatExists().empty())
                  {
                      return "nothing was left";
                  }
                  const std::string seen = inChild([] {
                      const Descriptor errors(creat("/run/errors", 0600));
                      checked(dup2(errors.get(), STDERR_FILENO), "dup2");
                      stay();
                      return firstFixedPathThatExists();
                  });
                  return seen + readText("/run/errors") + left();
              }),
              "in place: a run before was killed; removing what it left: "
              "/etc/bios-release, /etc/default/firmware, /usr/share/firmware, "
              "/run/lock/firmware, /run/systemd, /run/dbus\n");
}

TEST_F(InPlace, KeepsWhatItMadeWhenAChildExits)
{
    EXPECT_EQ(onHost([] {
                  stay();
                  writeFixedPaths();
                  inChild([] { return ""; });
                  return readText("/etc/bios-release");
              }),
              "sandbox_test");
}

TEST_F(InPlace, RefusesAHostThatHasAFixedPath)
{
    for (const std::string path : fixedPaths)
    {
        EXPECT_EQ(onHost([&]() -> std::string {
                      writeText(path, "the host's");
                      const std::string outcome =
                          inChild([] { return nameOf(stay()); });
                      return readText(path) == "the host's" ? outcome : "gone";
                  }),
                  "cannot run in place: this machine has " + path +
                      "\nMove them away, or run it in a container without "
                      "them.");
    }
}

TEST_F(InPlace, NamesAllFixedPathsThatTheHostHas)
{
    EXPECT_EQ(onHost([]() -> std::string {
                  for (const char* path : fixedPaths)
                  {
                      writeText(path, "the host's");
                  }
                  const std::string outcome =
                      inChild([] { return nameOf(stay()); });
                  return fs::exists(record) ? "goes on" : outcome;
              }),
              "cannot run in place: this machine has /etc/bios-release, "
              "/etc/default/firmware, /usr/share/firmware, "
              "/run/lock/firmware, /run/systemd/journal/socket, "
              "/run/dbus/system_bus_socket"
              "\nMove them away, or run it in a container without them.");
}

TEST_F(InPlace, WaitsForAnotherProgramInPlace)
{
    EXPECT_EQ(
        onHost([]() -> std::string {
            const support::Gate written;
            Child first([&] { return writeAndWait(written); });
            if (!written.pass())
            {
                return "the first does not enter";
            }
            Child second([] { return stay() == Isolation::inPlace ? 0 : 1; });
            if (!second.waitsForLock())
            {
                return "the second does not wait";
            }
            first.signal(SIGTERM);
            return std::to_string(first.wait()) + std::to_string(second.wait());
        }),
        "-150");
}

TEST_F(InPlace, IsCheckedBeforeTheBuild)
{
    EXPECT_EQ(onHost([] {
                  setenv(support::inPlaceVariable, "1", 1);
                  const std::string before = checkBeforeTheBuild();
                  for (const char* path : fixedPaths)
                  {
                      writeText(path, "the host's");
                  }
                  return before + checkBeforeTheBuild();
              }),
              "0: 1: cannot run in place: this machine has /etc/bios-release, "
              "/etc/default/firmware, /usr/share/firmware, "
              "/run/lock/firmware, /run/systemd/journal/socket, "
              "/run/dbus/system_bus_socket\n"
              "Move them away, or run it in a container without them.\n");
}

TEST(InPlaceByAnOrdinaryUser, SaysThatItNeedsRoot)
{
    EXPECT_EQ(inChild([] {
                  becomeOrdinaryUser();
                  setenv(support::inPlaceVariable, "1", 1);
                  return nameOf(enterSandbox());
              }),
              "cannot run in place: only root can write to /etc and "
              "/usr/share\nRun it as root.");
}

} // namespace
