// SPDX-License-Identifier: Apache-2.0
#include "../../os/directories.hpp"
#include "support/files.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

namespace
{

using std::filesystem::is_directory;

TEST(DirectoryOf, IsTheTextBeforeTheLastSlash)
{
    EXPECT_EQ(os::directoryOf("/a/b/c"), "/a/b");
    EXPECT_EQ(os::directoryOf("a/b"), "a");
    EXPECT_EQ(os::directoryOf("a/.."), "a");
    EXPECT_EQ(os::directoryOf("../a"), "..");
}

TEST(DirectoryOf, IsADotForABareName)
{
    EXPECT_EQ(os::directoryOf("a"), ".");
    EXPECT_EQ(os::directoryOf(".."), ".");
    EXPECT_EQ(os::directoryOf(""), ".");
}

TEST(DirectoryOf, IsTheRootForANameInIt)
{
    EXPECT_EQ(os::directoryOf("/a"), "/");
    EXPECT_EQ(os::directoryOf("//a"), "/");
    EXPECT_EQ(os::directoryOf("/"), "/");
}

TEST(DirectoryOf, EndsInNoSlash)
{
    EXPECT_EQ(os::directoryOf("a//b"), "a");
    EXPECT_EQ(os::directoryOf("/a///b"), "/a");
    EXPECT_EQ(os::directoryOf("a/"), "a");
    EXPECT_EQ(os::directoryOf("/a//"), "/a");
}

class Directories : public testing::Test
{
  public:
    int create(const std::string& path) const
    {
        return os::createDirectories(scratch.path / path, 0750,
                                     os::Lasting::yes);
    }

    bool exists(const std::string& path) const
    {
        return is_directory(scratch.path / path);
    }

    const support::ScratchDirectory scratch;
};

TEST_F(Directories, AreCreatedWithAllThatIsMissingAboveThem)
{
    EXPECT_EQ(create("a/b/c"), 0);
    EXPECT_TRUE(exists("a/b/c"));
    EXPECT_EQ(support::statusOf(scratch.path / "a").st_mode & 0777U, 0750U);
    EXPECT_EQ(support::statusOf(scratch.path / "a/b/c").st_mode & 0777U, 0750U);
}

TEST_F(Directories, MayBeNamedWithRedundantDotsAndSlashes)
{
    EXPECT_EQ(create("a//b/./c/../d"), 0);
    EXPECT_TRUE(exists("a/b/d"));
    EXPECT_TRUE(exists("a/b/c"));
}

TEST_F(Directories, ThatExistAreLeftAsTheyAre)
{
    const auto before = support::statusOf(scratch.path);
    EXPECT_EQ(create("."), 0);
    EXPECT_EQ(create(""), 0);
    EXPECT_EQ(os::createDirectories("/", 0755, os::Lasting::yes), 0);
    EXPECT_TRUE(support::untouched(before, support::statusOf(scratch.path)));
}

TEST_F(Directories, AreNotCreatedInPlaceOfAFile)
{
    support::writeFile(scratch.path / "file", "text");
    EXPECT_EQ(create("file"), 0);
    EXPECT_EQ(create("file/a"), ENOTDIR);
    EXPECT_EQ(create("file/a/b"), ENOTDIR);
    EXPECT_EQ(support::readFile(scratch.path / "file"), "text");
}

TEST_F(Directories, AreNotCreatedWhereALinkLeadsNowhere)
{
    create_symlink(std::filesystem::path("absent"), scratch.path / "link");
    EXPECT_EQ(create("link/a"), ENOENT);
    EXPECT_EQ(support::namesIn(scratch.path), std::vector<std::string>{"link"});
}

TEST(CreateDirectories, NothingIsCreatedOfAPathWithoutANameOrTooLong)
{
    EXPECT_EQ(os::createDirectories("", 0755, os::Lasting::no), ENOENT);
    EXPECT_EQ(os::createDirectories("/" + std::string(300, 'x'), 0755,
                                    os::Lasting::no),
              ENAMETOOLONG);
}

} // namespace
