// SPDX-License-Identifier: Apache-2.0
#include "store_test.hpp"
#include "support/cancelled.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <csignal>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace
{

using Lock = StoreTest;
using support::Child;
using support::Gate;

TEST_F(Lock, FileIsPrivateItsDirectoryIsNot)
{
    load();
    EXPECT_EQ(support::statusOf(lock).st_mode & 07777U, 0600U);
    EXPECT_EQ(support::statusOf(lock.parent_path()).st_mode & 07777U, 0755U);
}

TEST_F(Lock, AllItsMissingDirectoriesAreCreated)
{
    const auto deep = scratch.path / "x" / "y" / "document.lock";
    const Handle config(json_config_load(document.c_str(), deep.c_str(), 0));
    EXPECT_NE(config, nullptr);
    for (const auto& made : {scratch.path / "x", scratch.path / "x" / "y"})
    {
        EXPECT_EQ(support::statusOf(made).st_mode & 07777U, 0755U);
    }
}

TEST_F(Lock, ExcludesFlockWhileAHandleIsOpen)
{
    Handle config = load();
    EXPECT_FALSE(lockIsFree());
    json_config_release(config.release());
    EXPECT_TRUE(lockIsFree());
    EXPECT_TRUE(exists(lock));
}

TEST_F(Lock, IsDroppedAfterAChangeToo)
{
    ASSERT_EQ(set("a", "b", "c"), std::pair(0, 0));
    EXPECT_TRUE(lockIsFree());
    EXPECT_TRUE(exists(lock));
}

TEST_F(Lock, IsNotTakenWithoutALockPath)
{
    support::writeFile(document, "{}");
    load();
    const Handle reader = loadReadOnly();
    EXPECT_TRUE(lockIsFree());
}

TEST_F(Lock, AnotherProcessWaitsAndSeesTheChange)
{
    Handle config = load();
    Child other([&] {
        const Handle late = load();
        return get(late, "a", "b") == "new" ? 0 : 1;
    });
    ASSERT_TRUE(other.waitsForLock());
    ASSERT_EQ(json_config_set_string(config.get(), "a", "b", "new"), 0);
    ASSERT_EQ(json_config_release(config.release()), 0);
    EXPECT_EQ(other.wait(), 0);
}

TEST_F(Lock, AnotherHandleOfTheSameProcessWaits)
{
    Child process([&] {
        Handle config = load();
        std::thread other([&] { load(); });
        other.join();
        return 0;
    });
    EXPECT_TRUE(process.waitsForLock());
}

TEST_F(Lock, WaitsForFlock)
{
    load();
    const int file = ::open(lock.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(::flock(file, LOCK_EX), 0);
    Child other([&] { return load() != nullptr ? 0 : 1; });
    ASSERT_TRUE(other.waitsForLock());
    ASSERT_EQ(::flock(file, LOCK_UN), 0);
    ::close(file);
    EXPECT_EQ(other.wait(), 0);
}

TEST_F(Lock, SignalsDoNotEndTheWaiting)
{
    Handle config = load();
    const Gate signalled;
    Child other([&] {
        static const Gate* gate = nullptr;
        gate = &signalled;
        struct sigaction action = {};
        action.sa_handler = [](int) { gate->open(); };
        ::sigaction(SIGUSR1, &action, nullptr);
        return load() != nullptr ? 0 : 1;
    });
    ASSERT_TRUE(other.waitsForLock());
    for (int i = 0; i < 3; ++i)
    {
        other.signal(SIGUSR1);
        ASSERT_TRUE(signalled.pass());
        ASSERT_TRUE(other.waitsForLock());
    }
    json_config_release(config.release());
    EXPECT_EQ(other.wait(), 0);
}

TEST_F(Lock, ForkedChildDoesNotKeepItAfterTheRelease)
{
    Handle config = load();
    const Gate end;
    Child forked([&] { return end.pass() ? 0 : 1; });
    json_config_release(config.release());
    EXPECT_TRUE(lockIsFree());
    end.open();
    EXPECT_EQ(forked.wait(), 0);
}

TEST_F(Lock, ExecutedChildDoesNotKeepItWhenTheOwnerIsKilled)
{
    const Gate started;
    std::array<int, 2> hold{};
    ASSERT_EQ(::pipe(hold.data()), 0);
    Child owner([&] {
        const Handle config = load();
        // The program starts, says so, and stays until the pipe is closed.
        const std::string script =
            "echo started; exec cat <&" + std::to_string(hold[0]);
        std::array<int, 2> output{};
        if (::pipe(output.data()) == -1)
        {
            return 1;
        }
        if (::fork() == 0)
        {
            ::close(hold[1]);
            ::dup2(output[1], STDOUT_FILENO);
            ::execlp("sh", "sh", "-c", script.c_str(), nullptr);
            ::_exit(127);
        }
        char first = 0;
        if (::read(output[0], &first, 1) == 1)
        {
            started.open();
        }
        ::pause();
        return 0;
    });
    ASSERT_TRUE(started.pass());
    EXPECT_FALSE(lockIsFree());
    owner.signal(SIGKILL);
    EXPECT_EQ(owner.wait(), -SIGKILL);
    EXPECT_TRUE(lockIsFree());
    ::close(hold[1]);
    ::close(hold[0]);
}

TEST_F(Lock, SymbolicLinkIsRefused)
{
    create_directories(lock.parent_path());
    const auto target = scratch.path / "target";
    create_symlink(target, lock);
    errno = 0;
    EXPECT_EQ(load(), nullptr);
    EXPECT_EQ(errno, ELOOP);
    EXPECT_FALSE(exists(target));
}

TEST_F(Lock, DirectoryInItsPlaceIsRefused)
{
    create_directories(lock);
    errno = 0;
    EXPECT_EQ(load(), nullptr);
    EXPECT_EQ(errno, EISDIR);
}

TEST_F(Lock, FifoInItsPlaceDoesNotHang)
{
    create_directories(lock.parent_path());
    ASSERT_EQ(::mkfifo(lock.c_str(), 0600), 0);
    EXPECT_NE(load(), nullptr);
}

TEST_F(Lock, SocketInItsPlaceIsRefused)
{
    create_directories(lock.parent_path());
    ASSERT_EQ(::mknod(lock.c_str(), S_IFSOCK | 0600, 0), 0);
    errno = 0;
    EXPECT_EQ(load(), nullptr);
    EXPECT_EQ(errno, ENXIO);
}

TEST_F(Lock, AnotherFileLinkedInItsPlaceIsLeftAsItIs)
{
    create_directories(lock.parent_path());
    const auto victim = scratch.path / "victim";
    support::writeFile(victim, "precious");
    create_hard_link(victim, lock);
    const auto before = support::statusOf(victim);
    EXPECT_EQ(set("a", "b", "new"), std::pair(0, 0));
    EXPECT_TRUE(support::untouched(before, support::statusOf(victim)));
    EXPECT_EQ(support::readFile(victim), "precious");
}

TEST_F(Lock, RemovedWhileItIsHeldItLetsAnotherOneInAndAChangeIsLost)
{
    Handle holder = load();
    EXPECT_EQ(json_config_set_string(holder.get(), "a", "b", "lost"), 0);
    remove(lock);
    EXPECT_EQ(set("a", "c", "kept"), std::pair(0, 0));
    EXPECT_EQ(json_config_release(holder.release()), -1);
    EXPECT_EQ(get(load(), "a", "b"), "(none)");
    EXPECT_EQ(get(load(), "a", "c"), "kept");
}

TEST_F(Lock, MissingDirectoryThatCannotBeMade)
{
    support::writeFile(lock.parent_path(), "a file, not a directory");
    errno = 0;
    EXPECT_EQ(load(), nullptr);
    EXPECT_EQ(errno, ENOTDIR);
}

/** Two writers that make every change in a transaction of its own. */
class Writers : public StoreTest
{
  public:
    /** What a writer does; 0 when all of it succeeded. */
    auto writer(const std::string& section) const
    {
        return [this, section] {
            for (const auto& key : keys)
            {
                if (set(section.c_str(), key.c_str(), "set") != std::pair(0, 0))
                {
                    return 1;
                }
            }
            return 0;
        };
    }

    void expectAllChanges() const
    {
        const Handle config = load();
        for (const auto& key : keys)
        {
            EXPECT_EQ(get(config, "first", key.c_str()), "set");
            EXPECT_EQ(get(config, "second", key.c_str()), "set");
        }
    }

  private:
    static std::vector<std::string> numbers()
    {
        std::vector<std::string> result;
        for (int i = 0; i < 50; ++i)
        {
            result.push_back(std::to_string(i));
        }
        return result;
    }

    const std::vector<std::string> keys = numbers();
};

TEST_F(Writers, InTwoProcessesLoseNoChange)
{
    Child first(writer("first"));
    Child second(writer("second"));
    EXPECT_EQ(first.wait(), 0);
    EXPECT_EQ(second.wait(), 0);
    expectAllChanges();
}

TEST_F(Writers, InTwoThreadsLoseNoChange)
{
    auto first = std::async(std::launch::async, writer("first"));
    auto second = std::async(std::launch::async, writer("second"));
    EXPECT_EQ(first.get(), 0);
    EXPECT_EQ(second.get(), 0);
    expectAllChanges();
}

TEST_F(Lock, CancelledThreadEndsAfterItsTransaction)
{
    const auto outcome = support::runCancelled([&] {
        Handle config = load();
        EXPECT_EQ(json_config_set_string(config.get(), "a", "b", "c"), 0);
        EXPECT_EQ(get(config, "a", "b"), "c");
        EXPECT_EQ(json_config_delete_item(config.get(), "a", "x"), -1);
        EXPECT_EQ(json_config_release(config.release()), 0);
    });
    EXPECT_TRUE(outcome.workDone);
    EXPECT_TRUE(outcome.threadCancelled);
    EXPECT_TRUE(lockIsFree());
    EXPECT_EQ(get(loadReadOnly(), "a", "b"), "c");
}

} // namespace
