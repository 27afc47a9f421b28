// SPDX-License-Identifier: Apache-2.0
#include "../../os/files.hpp"
#include "support/files.hpp"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

namespace
{

class Files : public testing::Test
{
  public:
    Files()
    {
        support::writeFile(file, "text");
        EXPECT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    }

    const support::ScratchDirectory scratch;
    const std::string file = scratch.path / "file";
    const std::string fifo = scratch.path / "fifo";
    const std::string absent = scratch.path / "absent";
};

using OpenAtOnce = Files;
using LetWait = Files;
using Synchronise = Files;
using RemoveAndSynchronise = Files;
using DeviceOf = Files;

TEST_F(OpenAtOnce, DoesNotWaitForTheOtherEndOfAFifo)
{
    EXPECT_TRUE(os::openAtOnce(fifo, O_RDONLY).isOpen());
    errno = 0;
    EXPECT_FALSE(os::openAtOnce(fifo, O_WRONLY).isOpen());
    EXPECT_EQ(errno, ENXIO);
}

TEST_F(OpenAtOnce, GivesADescriptorThatNoProgramInherits)
{
    const auto opened = os::openAtOnce(file, O_RDONLY);
    EXPECT_EQ(::fcntl(opened.get(), F_GETFD), FD_CLOEXEC);
}

TEST_F(OpenAtOnce, CreatesWithTheModeThatIsGivenOrThatOfTheProcess)
{
    const auto before = ::umask(0022);
    EXPECT_TRUE(os::openAtOnce(absent, O_WRONLY | O_CREAT).isOpen());
    EXPECT_TRUE(
        os::openAtOnce(absent + "2", O_WRONLY | O_CREAT, 0600).isOpen());
    ::umask(before);
    EXPECT_EQ(support::statusOf(absent).st_mode & 0777U, 0644U);
    EXPECT_EQ(support::statusOf(absent + "2").st_mode & 0777U, 0600U);
}

TEST_F(OpenAtOnce, ReportsWhyItFails)
{
    errno = 0;
    EXPECT_FALSE(os::openAtOnce(absent, O_RDONLY).isOpen());
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(LetWait, MakesCallsWaitAgain)
{
    const auto opened = os::openAtOnce(fifo, O_RDWR);
    EXPECT_EQ(::fcntl(opened.get(), F_GETFL) & O_NONBLOCK, O_NONBLOCK);
    os::letWait(opened);
    EXPECT_EQ(::fcntl(opened.get(), F_GETFL) & O_NONBLOCK, 0);
}

TEST_F(Synchronise, TakesFilesAndDirectories)
{
    EXPECT_EQ(os::synchronise(file), 0);
    EXPECT_EQ(os::synchronise(scratch.path), 0);
}

TEST_F(Synchronise, ReportsWhyItFails)
{
    EXPECT_EQ(os::synchronise(absent), ENOENT);
    EXPECT_EQ(os::synchronise(fifo), EINVAL);
}

TEST_F(RemoveAndSynchronise, RemovesTheFile)
{
    EXPECT_EQ(os::removeAndSynchronise(scratch.path, "file"), 0);
    EXPECT_EQ(support::namesIn(scratch.path), std::vector<std::string>{"fifo"});
}

TEST_F(RemoveAndSynchronise, ReportsWhyItFails)
{
    EXPECT_EQ(os::removeAndSynchronise(scratch.path, "absent"), ENOENT);
    EXPECT_EQ(os::removeAndSynchronise(absent, "file"), ENOENT);
    EXPECT_EQ(os::removeAndSynchronise(file, "file"), ENOTDIR);
}

TEST_F(RemoveAndSynchronise, LeavesWhatALinkLeadsTo)
{
    const auto link = scratch.path / "link";
    create_directory_symlink(scratch.path, link);
    EXPECT_EQ(os::removeAndSynchronise(link, "file"), ENOTDIR);
    EXPECT_EQ(support::readFile(file), "text");
}

TEST_F(DeviceOf, IsThatOfTheStatusOrUnknown)
{
    EXPECT_EQ(os::deviceOf(file), support::statusOf(file).st_dev);
    EXPECT_EQ(os::deviceOf("/proc"), support::statusOf("/proc").st_dev);
    errno = 0;
    EXPECT_EQ(os::deviceOf(absent), std::nullopt);
    EXPECT_EQ(errno, ENOENT);
}

} // namespace
