// SPDX-License-Identifier: Apache-2.0
#include "support/await.hpp"
#include "support/cancelled.hpp"
#include "support/checked.hpp"
#include "support/descriptor.hpp"
#include "support/files.hpp"

#include <gtest/gtest.h>
#include <libfenmarch.hpp>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <future>
#include <optional>
#include <stdexcept>

namespace
{

using namespace phosphor::software::updater;
using Entries = std::map<std::string, std::string>;

class ReleaseFile : public testing::Test
{
  public:
    Entries read(const std::string& content)
    {
        support::writeFile(file, content);
        Entries entries;
        EXPECT_EQ(bmcReleaseFileRead(file, entries), 0);
        return entries;
    }

    /** What the work prints on standard output. */
    template <typename Work>
    static std::string printed(Work work)
    {
        testing::internal::CaptureStdout();
        work();
        return testing::internal::GetCapturedStdout();
    }

    support::ScratchDirectory scratch;
    const std::string file = scratch.path / "release";
};

TEST_F(ReleaseFile, LineIsAKeyAndItsValueInQuotes)
{
    EXPECT_EQ(read("VERSION_ID=\"1.0\"\n"), (Entries{{"VERSION_ID", "1.0"}}));
    EXPECT_EQ(read("A=\"x=y\"\nB=\" \"\n"),
              (Entries{{"A", "x=y"}, {"B", " "}}));
}

TEST_F(ReleaseFile, LastLineNeedsNoEnd)
{
    EXPECT_EQ(read("A=\"1\"\nB=\"2\""), (Entries{{"A", "1"}, {"B", "2"}}));
}

TEST_F(ReleaseFile, EmptyFileHasNoEntries)
{
    EXPECT_EQ(read(""), Entries{});
}

TEST_F(ReleaseFile, OneCharacterIsCutAtEachEndOfAValueWithoutQuotes)
{
    EXPECT_EQ(read("NAME=abc\n"), (Entries{{"NAME", "b"}}));
    EXPECT_EQ(read("NAME=ab\n"), (Entries{{"NAME", ""}}));
    EXPECT_EQ(read("NAME=a\n"), (Entries{{"NAME", ""}}));
}

TEST_F(ReleaseFile, EmptyValues)
{
    EXPECT_EQ(read("A=\"\"\n"), (Entries{{"A", ""}}));
    EXPECT_EQ(read("A=\"\n"), (Entries{{"A", ""}}));
}

TEST_F(ReleaseFile, LineWithoutEqualsIsItsOwnKey)
{
    EXPECT_EQ(read("# comment\n"), (Entries{{"# comment", " commen"}}));
    EXPECT_EQ(read("ab\n"), (Entries{{"ab", ""}}));
    EXPECT_EQ(read("a\n"), (Entries{{"a", ""}}));
}

TEST_F(ReleaseFile, EmptyKeyIsAKey)
{
    EXPECT_EQ(read("=\"x\"\n"), (Entries{{"", "x"}}));
}

TEST_F(ReleaseFile, LaterLineWins)
{
    EXPECT_EQ(read("A=\"1\"\nA=\"2\"\n"), (Entries{{"A", "2"}}));
}

TEST_F(ReleaseFile, EntriesOfTheMapStayUnlessReplaced)
{
    support::writeFile(file, "A=\"new\"\n");
    Entries entries{{"A", "old"}, {"B", "kept"}};
    EXPECT_EQ(bmcReleaseFileRead(file, entries), 0);
    EXPECT_EQ(entries, (Entries{{"A", "new"}, {"B", "kept"}}));
}

TEST_F(ReleaseFile, EmptyLineThrowsAndEarlierLinesAreRead)
{
    for (const std::string content :
         {"\n", "A=\"1\"\n\n", "A=\"1\"\n\nB=\"2\"\n", "A=\"1\"\nB=\n", "A="})
    {
        support::writeFile(file, content);
        Entries entries;
        EXPECT_THROW(bmcReleaseFileRead(file, entries), std::out_of_range)
            << content;
        EXPECT_EQ(entries.count("A"), content.starts_with("A=\"1\"") ? 1U : 0U);
    }
}

TEST_F(ReleaseFile, FileThatCannotBeReadIsPrintedWithoutALineEnd)
{
    Entries entries{{"A", "kept"}};
    const std::string output = printed(
        [&] { EXPECT_EQ(bmcReleaseFileRead("/absent/file", entries), -1); });
    EXPECT_EQ(output, "Open file /absent/file failed.");
    EXPECT_EQ(entries, (Entries{{"A", "kept"}}));
}

TEST_F(ReleaseFile, DirectoryHasNoLinesAndCannotBeWritten)
{
    Entries entries;
    EXPECT_EQ(bmcReleaseFileRead(scratch.path, entries), 0);
    EXPECT_EQ(entries, Entries{});
    EXPECT_EQ(
        printed([&] { EXPECT_EQ(bmcReleaseFileWrite(scratch.path, {}), -1); }),
        "Open file " + scratch.path.string() + " failed.");
}

TEST_F(ReleaseFile, LargeFileIsReadWhole)
{
    std::string content;
    for (int i = 0; i < 5000; ++i)
    {
        content += "KEY" + std::to_string(i) + "=\"value\"\n";
    }
    EXPECT_EQ(read(content).size(), 5000U);
}

TEST_F(ReleaseFile, IsWrittenInTheOrderOfTheMap)
{
    support::writeFile(file, "to be replaced, and longer than what comes");
    EXPECT_EQ(bmcReleaseFileWrite(file, {{"b", "2"}, {"B", ""}, {"a", "x\"y"}}),
              0);
    EXPECT_EQ(support::readFile(file), "B=\"\"\na=\"x\"y\"\nb=\"2\"\n");
}

TEST_F(ReleaseFile, NewFileHasTheDefaultMode)
{
    for (const auto& [mask, mode] : {std::pair{027U, 0640U}, {002U, 0664U}})
    {
        std::filesystem::remove(file);
        const mode_t before = ::umask(mask);
        EXPECT_EQ(bmcReleaseFileWrite(file, {}), 0);
        ::umask(before);
        EXPECT_EQ(support::readFile(file), "");
        EXPECT_EQ(support::statusOf(file).st_mode & 07777U, mode);
    }
}

TEST_F(ReleaseFile, FileThatCannotBeWrittenIsPrintedWithoutALineEnd)
{
    const std::string output = printed([&] {
        EXPECT_EQ(bmcReleaseFileWrite("/absent/file", {{"A", "1"}}), -1);
    });
    EXPECT_EQ(output, "Open file /absent/file failed.");
}

TEST_F(ReleaseFile, FailureOfTheWritingIsNotReported)
{
    EXPECT_EQ(printed([&] {
                  EXPECT_EQ(bmcReleaseFileWrite("/dev/full", {{"A", "1"}}), 0);
              }),
              "");
}

TEST_F(ReleaseFile, IsWrittenInPlaceAndThroughALink)
{
    const auto target = scratch.path / "target";
    support::writeFile(target, "A=\"1\"\n");
    std::filesystem::create_symlink(target, file);
    const auto before = support::statusOf(target);
    EXPECT_EQ(bmcReleaseFileWrite(file, {{"A", "2"}}), 0);
    EXPECT_EQ(support::statusOf(target).st_ino, before.st_ino);
    EXPECT_EQ(support::readFile(target), "A=\"2\"\n");
    EXPECT_TRUE(std::filesystem::is_symlink(file));
}

TEST_F(ReleaseFile, SettingANewKeySortsTheLines)
{
    support::writeFile(file, "VERSION_ID=\"1.0\"\n");
    EXPECT_EQ(bmcReleaseFileItemSet(file, "BUILD_DATE", "today"), 0);
    EXPECT_EQ(support::readFile(file),
              "BUILD_DATE=\"today\"\nVERSION_ID=\"1.0\"\n");
}

TEST_F(ReleaseFile, SettingAKeyReplacesItsValue)
{
    support::writeFile(file, "A=\"1\"\nB=\"2\"\n");
    EXPECT_EQ(bmcReleaseFileItemSet(file, "B", "3"), 0);
    EXPECT_EQ(support::readFile(file), "A=\"1\"\nB=\"3\"\n");
}

TEST_F(ReleaseFile, SettingRewritesEveryLineInTheOneForm)
{
    support::writeFile(file, "b=xyz\n# comment\nA=\"1\"\nA=\"2\"\n");
    EXPECT_EQ(bmcReleaseFileItemSet(file, "new", "v"), 0);
    EXPECT_EQ(support::readFile(file),
              "# comment=\" commen\"\nA=\"2\"\nb=\"y\"\nnew=\"v\"\n");
}

TEST_F(ReleaseFile, SettingTheSameValueLeavesTheFile)
{
    support::writeFile(file, "b=\"1\"\na=\"2\"");
    const auto before = support::statusOf(file);
    EXPECT_EQ(bmcReleaseFileItemSet(file, "b", "1"), 0);
    EXPECT_TRUE(support::untouched(before, support::statusOf(file)));
    EXPECT_EQ(support::readFile(file), "b=\"1\"\na=\"2\"");
}

TEST_F(ReleaseFile, SettingAnEmptyValueThatIsMissingWritesIt)
{
    support::writeFile(file, "");
    EXPECT_EQ(bmcReleaseFileItemSet(file, "A", ""), 0);
    EXPECT_EQ(support::readFile(file), "A=\"\"\n");
}

TEST_F(ReleaseFile, SettingInAMissingFilePrintsAndCreatesIt)
{
    EXPECT_EQ(
        printed([&] { EXPECT_EQ(bmcReleaseFileItemSet(file, "A", "1"), 0); }),
        "Open file " + file + " failed.");
    EXPECT_EQ(support::readFile(file), "A=\"1\"\n");
}

TEST_F(ReleaseFile, SettingWhereNothingCanBeWrittenPrintsTwice)
{
    EXPECT_EQ(printed([&] {
                  EXPECT_EQ(bmcReleaseFileItemSet("/absent/file", "A", "1"), 0);
              }),
              "Open file /absent/file failed.Open file /absent/file failed.");
}

TEST_F(ReleaseFile, FifoInItsPlaceDoesNotHang)
{
    ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
    Entries entries;
    EXPECT_EQ(bmcReleaseFileRead(file, entries), 0);
    EXPECT_TRUE(entries.empty());
    EXPECT_EQ(printed([&] { EXPECT_EQ(bmcReleaseFileWrite(file, {}), -1); }),
              "Open file " + file + " failed.");
}

/** A FIFO in place of the file, its ends held open by the test. */
class ReleaseFifo : public ReleaseFile
{
  public:
    ReleaseFifo()
    {
        support::checked(::mkfifo(file.c_str(), 0600), file);
    }

    support::Descriptor open(int flags) const
    {
        support::Descriptor opened(
            ::open(file.c_str(), flags | O_NONBLOCK | O_CLOEXEC));
        support::checked(opened.get(), file);
        return opened;
    }

    /** Waits until the FIFO holds this many bytes. */
    static void waitForContent(const support::Descriptor& fifo, int sizeBytes)
    {
        int size = -1;
        ASSERT_TRUE(support::await([&] {
            support::checked(::ioctl(fifo.get(), FIONREAD, &size), "FIONREAD");
            return size == sizeBytes;
        })) << size;
    }
};

TEST_F(ReleaseFifo, IsReadUntilItsLastWriterCloses)
{
    // Reads too, so that it can be opened before there is a reader.
    std::optional writer(open(O_RDWR));
    support::checked(::write(writer->get(), "A=\"1\"\n", 6), file);
    Entries entries;
    auto status = std::async(std::launch::async,
                             [&] { return bmcReleaseFileRead(file, entries); });
    waitForContent(*writer, 0);
    EXPECT_EQ(status.wait_for(std::chrono::milliseconds(100)),
              std::future_status::timeout);
    support::checked(::write(writer->get(), "B=\"2\"\n", 6), file);
    writer.reset();
    EXPECT_EQ(status.get(), 0);
    EXPECT_EQ(entries, (Entries{{"A", "1"}, {"B", "2"}}));
}

TEST_F(ReleaseFifo, IsWrittenAsFastAsItIsRead)
{
    const std::string value(588'881, 'x');
    const auto reader = open(O_RDONLY);
    auto status = std::async(std::launch::async, [&] {
        return bmcReleaseFileWrite(file, {{"NAME", value}});
    });
    waitForContent(reader, ::fcntl(reader.get(), F_GETPIPE_SZ));

    support::checked(::fcntl(reader.get(), F_SETFL, 0), "wait for content");
    std::string text;
    std::string buffer(1 << 16, '\0');
    for (ssize_t got = 1; got > 0;
         text.append(buffer, 0, static_cast<size_t>(got)))
    {
        got = ::read(reader.get(), buffer.data(), buffer.size());
        support::checked(got, file);
    }
    EXPECT_EQ(status.get(), 0);
    EXPECT_EQ(text, "NAME=\"" + value + "\"\n");
}

TEST_F(ReleaseFifo, ReaderThatGoesAwayDoesNotEndItsWriter)
{
    std::optional reader(open(O_RDONLY));
    auto status = std::async(std::launch::async, [&] {
        const int result =
            bmcReleaseFileWrite(file, {{"NAME", std::string(588'881, 'x')}});
        sigset_t pending{};
        sigpending(&pending);
        EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
        return result;
    });
    waitForContent(*reader, ::fcntl(reader->get(), F_GETPIPE_SZ));
    reader.reset();
    EXPECT_EQ(status.get(), 0);
}

TEST_F(ReleaseFile, CancelledThreadEndsAfterTheOperation)
{
    support::writeFile(file, "");
    const auto outcome = support::runCancelled(
        [&] { EXPECT_EQ(bmcReleaseFileItemSet(file, "A", "1"), 0); });
    EXPECT_TRUE(outcome.workDone);
    EXPECT_TRUE(outcome.threadCancelled);
    EXPECT_EQ(support::readFile(file), "A=\"1\"\n");
}

TEST_F(ReleaseFile, LineBreakInAValueIsOneInTheFile)
{
    support::writeFile(file, "NAME=\"old\"\n");
    EXPECT_EQ(bmcReleaseFileItemSet(file, "VERSION_ID", "1\"\nNAME=\"other"),
              0);
    Entries entries;
    EXPECT_EQ(bmcReleaseFileRead(file, entries), 0);
    EXPECT_EQ(entries, (Entries{{"NAME", "other"}, {"VERSION_ID", "1"}}));
}

TEST_F(ReleaseFile, SettingThrowsForAnEmptyLineAndLeavesTheFile)
{
    support::writeFile(file, "A=\"1\"\n\n");
    EXPECT_THROW(bmcReleaseFileItemSet(file, "A", "2"), std::out_of_range);
    EXPECT_EQ(support::readFile(file), "A=\"1\"\n\n");
}

} // namespace
