#include "support/child.hpp"
#include "support/library_test.hpp"

#include <libfenmarch.hpp>

#include <algorithm>
#include <sstream>

namespace
{

using namespace phosphor::software::updater;

/** The calls of an operation in their order, without the allocator's. */
class SystemCalls : public support::LibraryTest
{
  public:
    SystemCalls()
    {
        FwManager manager("BMC");
        EXPECT_EQ(manager.saveVersionStringFromInfo("key", "old"), 0);
    }

    /** What the operation printed; its calls go to `lines` and `calls`. */
    std::string trace(const std::string& operation,
                      const std::vector<std::string>& options = {})
    {
        const auto log = scratch.path / "trace";
        std::vector<std::string> command{"strace", "-o", log};
        command.insert(command.end(), options.begin(), options.end());
        command.insert(command.end(), {TRACED_OPERATION, operation});
        // LeakSanitizer does not work in a traced program.
        const auto outcome =
            support::run(command, {"ASAN_OPTIONS=detect_leaks=0"});
        EXPECT_EQ(outcome.status, 0) << outcome.output;
        readTrace(support::readFile(log));
        return outcome.output;
    }

    size_t count(const std::vector<std::string>& names) const
    {
        return static_cast<size_t>(
            std::ranges::count_if(calls, [&](const auto& call) {
                return std::ranges::find(names, call) != names.end();
            }));
    }

    std::vector<std::string> lines;
    std::vector<std::string> calls;

  private:
    void readTrace(const std::string& text)
    {
        static const std::vector<std::string> allocator{"brk", "mmap", "munmap",
                                                        "mprotect", "madvise"};
        lines.clear();
        calls.clear();
        std::istringstream input(text);
        bool within = false;
        for (std::string line; std::getline(input, line);)
        {
            if (line.find("/operation ends") != std::string::npos)
            {
                return;
            }
            const auto name = line.substr(0, line.find('('));
            if (within && std::ranges::find(allocator, name) == allocator.end())
            {
                lines.push_back(line);
                calls.push_back(name);
            }
            within |= line.find("/operation begins") != std::string::npos;
        }
        ADD_FAILURE() << "the operation did not end: " << text;
    }

    support::ScratchDirectory scratch;
};

std::string inLines(const std::vector<std::string>& lines)
{
    std::string text;
    for (const auto& line : lines)
    {
        text += line + '\n';
    }
    return text;
}

TEST_F(SystemCalls, ReadWritesNothingAndIsShort)
{
    EXPECT_EQ(trace("read"), "status 0\n");
    EXPECT_EQ(count({"write", "pwrite64", "writev", "fsync", "fdatasync",
                     "rename", "renameat", "renameat2", "ftruncate"}),
              0U)
        << inLines(lines);
    EXPECT_LE(calls.size(), 10U) << inLines(lines);
    EXPECT_GE(calls.size(), 5U) << inLines(lines);
}

TEST_F(SystemCalls, SaveWritesOnceAndSynchronisesTwice)
{
    EXPECT_EQ(trace("save"), "status 0\n");
    EXPECT_EQ(count({"write", "pwrite64", "writev"}), 1U) << inLines(lines);
    EXPECT_EQ(count({"fsync", "fdatasync", "sync", "syncfs"}), 2U)
        << inLines(lines);
}

TEST_F(SystemCalls, SaveSynchronisesTheFileBeforeAndTheDirectoryAfterTheRename)
{
    trace("save");
    std::vector<std::string> order;
    std::ranges::copy_if(calls, std::back_inserter(order),
                         [](const auto& call) {
                             return call == "flock" || call == "write" ||
                                    call == "fsync" || call == "renameat";
                         });
    EXPECT_EQ(order, (std::vector<std::string>{"flock", "write", "fsync",
                                               "renameat", "fsync", "flock"}))
        << inLines(lines);
}

TEST_F(SystemCalls, SaveWritesTheWholeDocumentAtOnce)
{
    trace("save", {"-s", "200"});
    const auto written = std::ranges::find_if(
        lines, [](const auto& line) { return line.starts_with("write("); });
    ASSERT_NE(written, lines.end());
    EXPECT_NE(
        written->find(
            R"("{\n    \"BMC\": {\n        \"key\": \"new\"\n    }\n}\n")"),
        std::string::npos)
        << *written;
}

TEST_F(SystemCalls, SameValueAgainWritesNothing)
{
    EXPECT_EQ(trace("save the same"), "status 0\n");
    EXPECT_EQ(count({"write", "fsync", "renameat"}), 0U) << inLines(lines);
}

TEST_F(SystemCalls, SaveWhoseReleaseFailsStillReportsSuccess)
{
    EXPECT_EQ(trace("save", {"-e", "inject=renameat:error=EIO"}), "status 0\n");
    FwManager manager("BMC");
    EXPECT_EQ(manager.getVersionStringFromInfo("key"), "old");
    EXPECT_EQ(support::namesIn("/usr/share/firmware"),
              std::vector<std::string>{"version.json"});
}

TEST_F(SystemCalls, DeletionReportsThatItsReleaseFailed)
{
    EXPECT_EQ(trace("delete", {"-e", "inject=renameat:error=EIO"}),
              "status -1\n");
    FwManager manager("BMC");
    EXPECT_EQ(manager.getVersionStringFromInfo("key"), "old");
}

TEST_F(SystemCalls, DirectoryThatCannotBeSynchronisedIsReported)
{
    EXPECT_EQ(trace("delete", {"-e", "inject=fsync:error=EIO:when=2"}),
              "status -1\n");
    FwManager manager("BMC");
    EXPECT_EQ(manager.getVersionStringFromInfo("key"), "");
}

TEST_F(SystemCalls, InterruptedWriteIsRepeated)
{
    EXPECT_EQ(trace("save", {"-e", "inject=write:error=EINTR:when=1"}),
              "status 0\n");
    FwManager manager("BMC");
    EXPECT_EQ(manager.getVersionStringFromInfo("key"), "new");
}

} // namespace
