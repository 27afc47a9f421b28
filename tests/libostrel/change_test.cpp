// SPDX-License-Identifier: Apache-2.0
#include "store_test.hpp"

#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <fstream>

namespace
{

class Change : public StoreTest
{
  protected:
    static constexpr auto oldText = R"({
    "a": {
        "b": "old"
    }
}
)";
};

using Set = Change;
using Delete = Change;
using Staging = Change;

TEST_F(Set, FirstChangeCreatesTheFileAndItsDirectory)
{
    EXPECT_EQ(set("BMC", "state", "idle"), std::pair(0, 0));
    EXPECT_EQ(support::readFile(document), R"({
    "BMC": {
        "state": "idle"
    }
}
)");
    EXPECT_EQ(support::statusOf(document).st_mode & 07777U, 0644U);
    EXPECT_EQ(support::statusOf(directory).st_mode & 07777U, 0755U);
}

TEST_F(Set, FillsAnEmptyFile)
{
    support::writeFile(document, "");
    EXPECT_EQ(set("a", "b", "old"), std::pair(0, 0));
    EXPECT_EQ(support::readFile(document), oldText);
}

TEST_F(Set, EverythingElseKeepsItsValueAndPlace)
{
    support::writeFile(document, R"({
    "zebra": {
        "last": "1",
        "b": "old",
        "after": "2"
    },
    "number": -9223372036854775808,
    "real": 1.5,
    "list": [
        "x",
        null,
        true,
        {
            "deep": "\u0000\"\\\n",
            "deeper": {}
        }
    ],
    "apple": {}
}
)");
    ASSERT_EQ(set("zebra", "b", "new \xc3\xa4 \"\\\t"), std::pair(0, 0));
    EXPECT_EQ(support::readFile(document), R"({
    "zebra": {
        "last": "1",
        "b": "new )"
                                           "\xc3\xa4"
                                           R"( \"\\\t",
        "after": "2"
    },
    "number": -9223372036854775808,
    "real": 1.5,
    "list": [
        "x",
        null,
        true,
        {
            "deep": "\u0000\"\\\n",
            "deeper": {}
        }
    ],
    "apple": {}
}
)");
}

constexpr auto numbers = R"({
    "x": [
        0.1,
        1E2,
        -1.50e-07,
        123456789012345678901234567890,
        18446744073709551615,
        -1,
        -0,
        -0.0,
        1e400,
        -1E+999
    ],
    "a": {
        "number": 0.25
    }
}
)";

TEST_F(Set, NumbersStayAsTheyAreWritten)
{
    support::writeFile(document, numbers);
    ASSERT_EQ(set("a", "b", "c"), std::pair(0, 0));
    EXPECT_EQ(deleteItem("a", "b"), 0);
    EXPECT_EQ(support::readFile(document), numbers);
}

TEST_F(Set, NumbersKeepTheirPointInALocaleThatHasAnother)
{
    support::writeFile(scratch.path / "definition", "LC_NUMERIC\n"
                                                    "decimal_point \",\"\n"
                                                    "thousands_sep \"\"\n"
                                                    "grouping -1\n"
                                                    "END LC_NUMERIC\n");
    // It complains of all that is not defined, and makes the rest.
    support::run({"localedef", "--force", "--inputfile",
                  scratch.path / "definition", scratch.path / "comma"});
    ASSERT_EQ(setenv("LOCPATH", scratch.path.c_str(), 1), 0);
    ASSERT_NE(std::setlocale(LC_NUMERIC, "comma"), nullptr);

    support::writeFile(document, numbers);
    EXPECT_EQ(set("a", "b", "c"), std::pair(0, 0));
    EXPECT_EQ(deleteItem("a", "b"), 0);
    std::setlocale(LC_NUMERIC, "C");
    EXPECT_EQ(support::readFile(document), numbers);
}

TEST_F(Set, StringsStayAsTheyAreSpelled)
{
    const std::string before = R"({
    "\u0061\/": {
        "k\u0065y": "old",
        "\b": "\u0041\u00e9\ud83d\uDE00\/\u0000"
    },
    "list": [
        "\u0041",
        {
            "\u0042": "\/"
        }
    ]
}
)";
    support::writeFile(document, before);
    ASSERT_EQ(set("a/", "key", R"(\u0041)"), std::pair(0, 0));
    std::string after = before;
    after.replace(after.find("old"), 3, R"(\\u0041)");
    EXPECT_EQ(support::readFile(document), after);
}

TEST_F(Set, SameValueInAnotherSpellingWritesNothing)
{
    support::writeFile(document, R"({"a":{"\u0062":"\u006fl\u0064"}})");
    const auto before = support::statusOf(document);
    EXPECT_EQ(set("a", "b", "old"), std::pair(0, 0));
    EXPECT_TRUE(support::untouched(before, support::statusOf(document)));
}

TEST_F(Set, ValueThatOnlyResemblesTheOldOneIsWritten)
{
    for (const auto* const old : {R"(olD)", R"(old\u0000)", R"(ol)", R"(older)",
                                  R"(\u006fldd)", R"(\u006fl)", R"(\u006f\\d)"})
    {
        support::writeFile(document,
                           R"({"a":{"b":")" + std::string(old) + R"("}})");
        EXPECT_EQ(set("a", "b", "old"), std::pair(0, 0));
        EXPECT_EQ(support::readFile(document), oldText) << old;
    }
}

TEST_F(Set, ValueThatIsTheSpellingOfTheOldOneIsWritten)
{
    support::writeFile(document, R"({"a":{"b":"\u0041"}})");
    EXPECT_EQ(set("a", "b", R"(\u0041)"), std::pair(0, 0));
    EXPECT_EQ(get(load(), "a", "b"), R"(\u0041)");
}

TEST_F(Set, EscapesOnlyWhatMayNotStandInAString)
{
    EXPECT_EQ(set("a", "b", "\x01\x1f \"\\\b\f\n\r\t/\x7f\xc3\xa4"),
              std::pair(0, 0));
    EXPECT_EQ(support::readFile(document), R"({
    "a": {
        "b": "\u0001\u001f \"\\\b\f\n\r\t/)"
                                           "\x7f\xc3\xa4"
                                           R"("
    }
}
)");
}

TEST_F(Set, WhiteSpaceIsThatOfTheStoreEverywhere)
{
    support::writeFile(document, "{\t\"a\" :{ } ,\r\n\"list\":[ ],\"x\":[ [ ] ,"
                                 "{ },[{\"y\" :[1 ,\ttrue]}]],\"b\":\n7 }");
    ASSERT_EQ(set("a", "b", "c"), std::pair(0, 0));
    EXPECT_EQ(support::readFile(document), R"({
    "a": {
        "b": "c"
    },
    "list": [],
    "x": [
        [],
        {},
        [
            {
                "y": [
                    1,
                    true
                ]
            }
        ]
    ],
    "b": 7
}
)");
}

TEST_F(Set, OneHandleSeesAndChangesWhatItHasChanged)
{
    support::writeFile(document,
                       R"({"x":[1,{"y":"z"}],"number":7,"a":{"b":"old"}})");
    Handle config = load();
    for (const auto& [section, key, value] :
         {std::tuple{"a", "b", "a longer value than before"},
          {"a", "new", "1"},
          {"n", "b", "2"},
          {"a", "b", ""},
          {"n", "c", "3"},
          {"n", "b", "\n"}})
    {
        ASSERT_EQ(json_config_set_string(config.get(), section, key, value), 0);
        EXPECT_EQ(get(config, section, key), value);
    }
    ASSERT_EQ(json_config_delete_item(config.get(), "a", "b"), 0);
    EXPECT_EQ(get(config, "a", "b"), "(none)");
    EXPECT_EQ(get(config, "a", "new"), "1");
    EXPECT_EQ(get(config, "n", "b"), "\n");
    EXPECT_EQ(get(config, "n", "c"), "3");
    EXPECT_EQ(json_config_release(config.release()), 0);
    EXPECT_EQ(support::readFile(document), R"({
    "x": [
        1,
        {
            "y": "z"
        }
    ],
    "number": 7,
    "a": {
        "new": "1"
    },
    "n": {
        "b": "\n",
        "c": "3"
    }
}
)");
}

TEST_F(Set, NewItemsAndSectionsComeLast)
{
    support::writeFile(document, oldText);
    ASSERT_EQ(set("a", "A", "1"), std::pair(0, 0));
    ASSERT_EQ(set("A", "b", "2"), std::pair(0, 0));
    EXPECT_EQ(support::readFile(document), R"({
    "a": {
        "b": "old",
        "A": "1"
    },
    "A": {
        "b": "2"
    }
}
)");
}

TEST_F(Set, ReplacesAValueOfAnotherType)
{
    support::writeFile(document, R"({"a":{"b":{"deep":[1,2]}}})");
    ASSERT_EQ(set("a", "b", "old"), std::pair(0, 0));
    EXPECT_EQ(support::readFile(document), oldText);
}

TEST_F(Set, SectionThatIsNoObjectFailsAndChangesNothing)
{
    for (const auto* const content :
         {R"({"a":"text"})", R"({"a":[]})", R"({"a":null})", R"({"a":7})"})
    {
        support::writeFile(document, content);
        errno = 0;
        EXPECT_EQ(set("a", "b", "new"), std::pair(-1, 0));
        EXPECT_EQ(errno, EBADMSG);
        EXPECT_EQ(support::readFile(document), content);
    }
}

TEST_F(Set, TextThatIsNoUtf8IsRefusedAndTheHandleGoesOn)
{
    support::writeFile(document, oldText);
    Handle config = load();
    for (const auto& [section, key, value] : {std::tuple{"a", "b", "\xff"},
                                              {"a", "\xc3(", "x"},
                                              {"\x80", "b", "x"},
                                              {"a", "b", "\xed\xa0\x80"},
                                              {"a", "b", "\xc0\x80"}})
    {
        errno = 0;
        EXPECT_EQ(json_config_set_string(config.get(), section, key, value),
                  -1);
        EXPECT_EQ(errno, EILSEQ);
    }
    EXPECT_EQ(get(config, "a", "b"), "old");
    EXPECT_FALSE(exists(temporary));
    EXPECT_EQ(json_config_set_string(config.get(), "a", "c", "new"), 0);
    EXPECT_EQ(json_config_release(config.release()), 0);
    EXPECT_EQ(get(load(), "a", "b"), "old");
    EXPECT_EQ(get(load(), "a", "c"), "new");
}

TEST_F(Set, NoNameOrValueHarmsAnotherRecord)
{
    const std::string longText(1024 * 1024, '"');
    for (const auto* const text :
         {"/", "../../x", "line\nbreak", "\"",
          "\": {\"a\": {\"b\": \"planted\"}}", "back\\slash\\", "\\u0000",
          "\x01\x1f\x7f", "{}", "null", "%s%n", "\xef\xbb\xbf",
          "\xf0\x9f\x98\x80", longText.c_str()})
    {
        support::writeFile(document, oldText);
        for (const auto& [section, key, value] :
             {std::tuple{text, "x", "x"}, {"x", text, "x"}, {"x", "x", text}})
        {
            EXPECT_EQ(set(section, key, value), std::pair(0, 0));
            const std::string read = get(load(), section, key);
            EXPECT_EQ(read, std::string(value).substr(0, 255)) << text;
        }
        EXPECT_EQ(get(load(), "a", "b"), "old") << text;
    }
}

TEST_F(Set, NullArgumentsAreRefused)
{
    const Handle owned = load();
    json_config_t* const config = owned.get();
    const auto refused = [](int result) {
        const bool told = result != 0 && errno == EINVAL;
        errno = 0;
        return told;
    };
    EXPECT_TRUE(refused(json_config_set_string(nullptr, "a", "b", "c")));
    EXPECT_TRUE(refused(json_config_set_string(config, nullptr, "b", "c")));
    EXPECT_TRUE(refused(json_config_set_string(config, "a", nullptr, "c")));
    EXPECT_TRUE(refused(json_config_set_string(config, "a", "b", nullptr)));
}

TEST_F(Set, WithoutALockFails)
{
    support::writeFile(document, oldText);
    const Handle config = loadReadOnly();
    errno = 0;
    EXPECT_EQ(json_config_set_string(config.get(), "a", "b", "new"), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(get(config, "a", "b"), "old");
    EXPECT_EQ(support::readFile(document), oldText);
}

TEST_F(Set, SameValueWritesNothing)
{
    support::writeFile(document, R"({"a":{"b":"old"}})");
    const auto before = support::statusOf(document);
    EXPECT_EQ(set("a", "b", "old"), std::pair(0, 0));
    EXPECT_TRUE(support::untouched(before, support::statusOf(document)));
}

TEST_F(Set, EmptyNamesAndValuesAreTextLikeAnyOther)
{
    EXPECT_EQ(set("", "", ""), std::pair(0, 0));
    EXPECT_EQ(get(load(), "", ""), "");
}

TEST_F(Set, SeveralChangesOfOneHandleArriveTogether)
{
    Handle config = load();
    EXPECT_EQ(json_config_set_string(config.get(), "a", "b", "1"), 0);
    EXPECT_EQ(json_config_set_string(config.get(), "a", "c", "2"), 0);
    EXPECT_EQ(json_config_delete_item(config.get(), "a", "b"), 0);
    EXPECT_FALSE(exists(document));
    EXPECT_EQ(json_config_release(config.release()), 0);
    EXPECT_EQ(get(load(), "a", "b"), "(none)");
    EXPECT_EQ(get(load(), "a", "c"), "2");
}

TEST_F(Delete, RemovesTheItemAndKeepsItsSection)
{
    support::writeFile(document, R"({"a":{"b":"old"},"c":{"b":"other"}})");
    Handle config = load();
    EXPECT_EQ(json_config_delete_item(config.get(), "a", "b"), 0);
    EXPECT_EQ(json_config_release(config.release()), 0);
    EXPECT_EQ(support::readFile(document), R"({
    "a": {},
    "c": {
        "b": "other"
    }
}
)");
}

TEST_F(Delete, RemovesAnItemOfAnyType)
{
    support::writeFile(document, R"({"a":{"b":[1],"c":"kept"}})");
    Handle config = load();
    EXPECT_EQ(json_config_delete_item(config.get(), "a", "b"), 0);
    EXPECT_EQ(json_config_release(config.release()), 0);
    EXPECT_EQ(support::readFile(document), R"({
    "a": {
        "c": "kept"
    }
}
)");
}

TEST_F(Delete, WhatIsNotThereWritesNothing)
{
    support::writeFile(document, R"({"a":{"b":"old"},"list":["b"]})");
    const auto before = support::statusOf(document);
    Handle config = load();
    for (const auto& [section, key] :
         {std::pair{"a", "c"}, {"c", "b"}, {"list", "b"}, {"a", "\xff"}})
    {
        errno = 0;
        EXPECT_EQ(json_config_delete_item(config.get(), section, key), -1);
        EXPECT_EQ(errno, ENOENT);
    }
    EXPECT_EQ(json_config_release(config.release()), 0);
    EXPECT_TRUE(support::untouched(before, support::statusOf(document)));
}

TEST_F(Delete, NullArgumentsAreRefused)
{
    const Handle config = load();
    errno = 0;
    EXPECT_EQ(json_config_delete_item(nullptr, "a", "b"), -1);
    EXPECT_EQ(errno, EINVAL);
    errno = 0;
    EXPECT_EQ(json_config_delete_item(config.get(), nullptr, "b"), -1);
    EXPECT_EQ(errno, EINVAL);
    errno = 0;
    EXPECT_EQ(json_config_delete_item(config.get(), "a", nullptr), -1);
    EXPECT_EQ(errno, EINVAL);
}

TEST_F(Delete, WithoutALockFails)
{
    support::writeFile(document, oldText);
    const Handle config = loadReadOnly();
    errno = 0;
    EXPECT_EQ(json_config_delete_item(config.get(), "a", "b"), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(support::readFile(document), oldText);
}

TEST_F(Staging, NewTextLiesBesideTheOldUntilTheRelease)
{
    support::writeFile(document, oldText);
    Handle config = load();
    ASSERT_EQ(json_config_set_string(config.get(), "a", "b", "new"), 0);
    EXPECT_EQ(support::readFile(document), oldText);
    EXPECT_EQ(support::readFile(temporary), R"({
    "a": {
        "b": "new"
    }
}
)");
    EXPECT_EQ(json_config_release(config.release()), 0);
    EXPECT_EQ(support::namesIn(directory),
              std::vector<std::string>{"document.json"});
    EXPECT_EQ(get(load(), "a", "b"), "new");
}

TEST_F(Staging, KeepsModeAndOwner)
{
    support::writeFile(document, oldText);
    const auto before = support::statusOf(document);
    for (const mode_t mode : {0600U, 0640U, 0664U, 0444U})
    {
        ASSERT_EQ(::chmod(document.c_str(), mode), 0);
        ASSERT_EQ(set("a", "mode", std::to_string(mode).c_str()),
                  std::pair(0, 0));
        const auto after = support::statusOf(document);
        EXPECT_EQ(after.st_mode & 07777U, mode);
        EXPECT_EQ(after.st_uid, before.st_uid);
        EXPECT_EQ(after.st_gid, before.st_gid);
    }
}

TEST_F(Staging, KeepsSetIdAndStickyBits)
{
    for (const mode_t mode : {06755U, 04711U, 02755U, 01644U})
    {
        support::writeFile(document, oldText);
        ASSERT_EQ(::chmod(document.c_str(), mode), 0);
        // Whoever has no right to them loses set-id bits when he writes.
        std::ofstream(document) << oldText;
        if ((support::statusOf(document).st_mode & 07777U) != mode)
        {
            GTEST_SKIP() << "only root keeps them";
        }
        ASSERT_EQ(set("a", "b", "new"), std::pair(0, 0));
        EXPECT_EQ(support::statusOf(document).st_mode & 07777U, mode);
    }
}

TEST_F(Staging, KeepsAnOwnerOtherThanTheWriter)
{
    constexpr uid_t user = 1234;
    constexpr gid_t group = 4321;
    support::writeFile(document, oldText);
    if (::chown(document.c_str(), user, group) == -1)
    {
        GTEST_SKIP() << "only root has other users";
    }
    ASSERT_EQ(::chmod(document.c_str(), 0640), 0);
    ASSERT_EQ(set("a", "b", "new"), std::pair(0, 0));
    const auto status = support::statusOf(document);
    EXPECT_EQ(status.st_uid, user);
    EXPECT_EQ(status.st_gid, group);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST_F(Staging, ClearsATemporaryThatACrashLeft)
{
    support::writeFile(document, oldText);
    support::writeFile(temporary, std::string(10'000, 'x'));
    EXPECT_EQ(get(load(), "a", "b"), "old");
    ASSERT_EQ(set("a", "b", "new"), std::pair(0, 0));
    EXPECT_EQ(get(load(), "a", "b"), "new");
    EXPECT_EQ(support::namesIn(directory),
              std::vector<std::string>{"document.json"});
}

TEST_F(Staging, DoesNotFollowALinkPlantedAsTheTemporary)
{
    support::writeFile(document, oldText);
    const auto victim = scratch.path / "victim";
    support::writeFile(victim, "precious");
    create_symlink(victim, temporary);
    ASSERT_EQ(set("a", "b", "new"), std::pair(0, 0));
    EXPECT_EQ(support::readFile(victim), "precious");
    EXPECT_FALSE(is_symlink(document));
    EXPECT_EQ(get(load(), "a", "b"), "new");
}

TEST_F(Staging, LeavesAFileThatIsLinkedAsTheTemporary)
{
    support::writeFile(document, oldText);
    const auto victim = scratch.path / "victim";
    support::writeFile(victim, "precious");
    create_hard_link(victim, temporary);
    ASSERT_EQ(set("a", "b", "new"), std::pair(0, 0));
    EXPECT_EQ(support::readFile(victim), "precious");
    EXPECT_EQ(get(load(), "a", "b"), "new");
}

TEST_F(Staging, DirectoryInPlaceOfTheTemporaryFailsTheSetUntilItIsGone)
{
    support::writeFile(document, oldText);
    create_directory(temporary);
    errno = 0;
    EXPECT_EQ(json_config_set_string(load().get(), "a", "b", "new"), -1);
    EXPECT_EQ(errno, EEXIST);
    EXPECT_TRUE(is_directory(temporary));
    EXPECT_EQ(support::readFile(document), oldText);
    remove(temporary);
    EXPECT_EQ(set("a", "b", "new"), std::pair(0, 0));
}

TEST_F(Staging, FullDiskFailsTheSetAndWorksAgainWithRoom)
{
    create_directories(directory);
    const auto disk = support::Mount::tmpfs(directory, 64 * 1024);
    support::writeFile(document, oldText);
    const auto filler = support::fillUp(directory);

    errno = 0;
    Handle config = load();
    EXPECT_EQ(json_config_set_string(config.get(), "a", "b", "new"), -1);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(get(config, "a", "b"), "old");
    EXPECT_FALSE(exists(temporary));
    EXPECT_EQ(json_config_release(config.release()), -1);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(support::readFile(document), oldText);
    EXPECT_TRUE(lockIsFree());

    remove(filler);
    EXPECT_EQ(set("a", "b", "new"), std::pair(0, 0));
    EXPECT_EQ(get(load(), "a", "b"), "new");
}

TEST_F(Staging, DeleteThatCannotBeStagedFailsTheRelease)
{
    create_directories(directory);
    const auto disk = support::Mount::tmpfs(directory, 64 * 1024);
    support::writeFile(document, oldText);
    support::fillUp(directory);

    Handle config = load();
    EXPECT_EQ(json_config_delete_item(config.get(), "a", "b"), -1);
    EXPECT_EQ(get(config, "a", "b"), "old");
    errno = 0;
    EXPECT_EQ(json_config_release(config.release()), -1);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(support::readFile(document), oldText);
}

TEST_F(Staging, FailureEndsTheWholeTransaction)
{
    create_directories(directory);
    const auto disk = support::Mount::tmpfs(directory, 64 * 1024);
    support::writeFile(document, oldText);

    Handle config = load();
    ASSERT_EQ(json_config_set_string(config.get(), "a", "c", "staged"), 0);
    const std::string tooLong(128 * 1024, 'v');
    ASSERT_EQ(json_config_set_string(config.get(), "a", "b", tooLong.c_str()),
              -1);
    errno = 0;
    EXPECT_EQ(json_config_set_string(config.get(), "a", "b", "new"), -1);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(json_config_delete_item(config.get(), "a", "b"), -1);
    EXPECT_EQ(json_config_release(config.release()), -1);
    EXPECT_EQ(support::readFile(document), oldText);
    EXPECT_FALSE(exists(temporary));
}

TEST_F(Staging, ReadOnlyFileSystemFailsTheSet)
{
    support::writeFile(document, oldText);
    const auto readOnly = support::Mount::onItself(directory);
    readOnly.makeReadOnly();
    errno = 0;
    EXPECT_EQ(set("a", "b", "new"), std::pair(-1, -1));
    EXPECT_EQ(errno, EROFS);
    EXPECT_EQ(get(load(), "a", "b"), "old");
}

TEST_F(Staging, FileThatIsAMountPointFailsTheSet)
{
    support::writeFile(document, oldText);
    const auto mounted = support::Mount::onItself(document);
    Handle config = load();
    errno = 0;
    EXPECT_EQ(json_config_set_string(config.get(), "a", "b", "new"), -1);
    EXPECT_EQ(errno, EBUSY);
    EXPECT_FALSE(exists(temporary));
    EXPECT_EQ(json_config_release(config.release()), -1);
    EXPECT_EQ(support::readFile(document), oldText);
}

TEST_F(Staging, FollowsASymbolicLinkAndKeepsIt)
{
    const auto target = scratch.path / "elsewhere" / "real.json";
    support::writeFile(target, oldText);
    create_directories(directory);
    create_symlink("../hop.json", document);
    create_symlink(target, scratch.path / "hop.json");

    Handle config = load();
    ASSERT_EQ(json_config_set_string(config.get(), "a", "b", "new"), 0);
    EXPECT_TRUE(exists(scratch.path / "elsewhere" / "real.json.tmp"));
    ASSERT_EQ(json_config_release(config.release()), 0);

    EXPECT_EQ(read_symlink(document), "../hop.json");
    EXPECT_TRUE(is_symlink(scratch.path / "hop.json"));
    EXPECT_FALSE(is_symlink(target));
    EXPECT_EQ(support::readFile(target), R"({
    "a": {
        "b": "new"
    }
}
)");
    EXPECT_EQ(support::namesIn(directory),
              std::vector<std::string>{"document.json"});
}

TEST_F(Staging, CreatesTheTargetOfADanglingLink)
{
    create_directories(directory);
    create_symlink("../data/real.json", document);
    EXPECT_EQ(set("a", "b", "old"), std::pair(0, 0));
    EXPECT_TRUE(is_symlink(document));
    EXPECT_EQ(support::readFile(scratch.path / "data" / "real.json"), oldText);
}

TEST_F(Staging, ReplacesAFileFromBeyondTheTimesOf32Bits)
{
    support::writeFile(scratch.path / "real.json", R"({"a":{"b":"old"}})");
    create_directory(directory);
    create_symlink("../real.json", document);
    for (const auto& path : {scratch.path / "real.json", document, directory})
    {
        support::setYear2040(path);
    }
    EXPECT_EQ(set("a", "b", "new"), std::pair(0, 0));
    EXPECT_EQ(get(loadReadOnly(), "a", "b"), "new");
    EXPECT_TRUE(S_ISLNK(support::statusOf(document).st_mode));
}

TEST_F(Staging, LoopOfLinksGivesNoHandle)
{
    create_directories(directory);
    create_symlink(document, document);
    errno = 0;
    EXPECT_EQ(load(), nullptr);
    EXPECT_EQ(errno, ELOOP);
}

TEST_F(Staging, FileThatBecomesALoopOfLinksFailsTheSet)
{
    support::writeFile(document, oldText);
    const Handle config = load();
    remove(document);
    create_symlink(document, document);
    errno = 0;
    EXPECT_EQ(json_config_set_string(config.get(), "a", "b", "new"), -1);
    EXPECT_EQ(errno, ELOOP);
}

TEST_F(Staging, MissingDirectoriesAreAllCreated)
{
    const auto deep = scratch.path / "x" / "y" / "z" / "document.json";
    Handle config(json_config_load(deep.c_str(), lock.c_str(), 0));
    ASSERT_EQ(json_config_set_string(config.get(), "a", "b", "old"), 0);
    ASSERT_EQ(json_config_release(config.release()), 0);
    EXPECT_EQ(support::readFile(deep), oldText);
}

TEST_F(Staging, MissingDirectoriesAreCreatedOnAWayThroughDots)
{
    const auto deep =
        scratch.path / "x" / "." / "y" / ".." / "z" / "document.json";
    Handle config(json_config_load(deep.c_str(), lock.c_str(), 0));
    ASSERT_EQ(json_config_set_string(config.get(), "a", "b", "old"), 0);
    ASSERT_EQ(json_config_release(config.release()), 0);
    EXPECT_EQ(support::readFile(scratch.path / "x" / "z" / "document.json"),
              oldText);
}

TEST_F(Staging, MissingDirectoriesThatCannotBeCreatedFailTheSet)
{
    create_directories(directory);
    const auto readOnly = support::Mount::onItself(directory);
    readOnly.makeReadOnly();
    const auto deep = directory / "x" / "y" / "document.json";
    const Handle config(json_config_load(deep.c_str(), lock.c_str(), 0));
    errno = 0;
    EXPECT_EQ(json_config_set_string(config.get(), "a", "b", "new"), -1);
    EXPECT_EQ(errno, EROFS);
}

TEST_F(Staging, RelativePathsWork)
{
    const auto before = std::filesystem::current_path();
    current_path(scratch.path);
    Handle config(json_config_load("plain.json", "plain.lock", 0));
    EXPECT_EQ(json_config_set_string(config.get(), "a", "b", "old"), 0);
    EXPECT_EQ(json_config_release(config.release()), 0);
    current_path(before);
    EXPECT_EQ(support::readFile(scratch.path / "plain.json"), oldText);
}

TEST_F(Staging, PathWithoutANameFailsTheSet)
{
    const auto nameless = (scratch.path / "absent").string() + "/";
    Handle config(json_config_load(nameless.c_str(), lock.c_str(), 0));
    ASSERT_NE(config, nullptr);
    EXPECT_EQ(json_config_set_string(config.get(), "a", "b", "new"), -1);
    EXPECT_EQ(json_config_release(config.release()), -1);
}

TEST_F(Change, ReleaseOfNullFails)
{
    errno = 0;
    EXPECT_EQ(json_config_release(nullptr), -1);
    EXPECT_EQ(errno, EINVAL);
}

TEST_F(Change, CommitThatFailsLeavesTheOldFileAndNoTemporary)
{
    support::writeFile(document, oldText);
    Handle config = load();
    ASSERT_EQ(json_config_set_string(config.get(), "a", "b", "new"), 0);
    {
        const auto mountedMeanwhile = support::Mount::onItself(document);
        errno = 0;
        EXPECT_EQ(json_config_release(config.release()), -1);
        EXPECT_EQ(errno, EBUSY);
    }
    EXPECT_TRUE(lockIsFree());
    EXPECT_EQ(support::readFile(document), oldText);
    EXPECT_EQ(support::namesIn(directory),
              std::vector<std::string>{"document.json"});
}

} // namespace
