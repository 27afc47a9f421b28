// SPDX-License-Identifier: Apache-2.0
#include "store_test.hpp"

#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

#include <functional>
#include <utility>

namespace
{

/** What happens before the next read, once. */
std::function<void()> beforeRead;

} // namespace

/** In place of that of the C library, for the store too. */
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" ssize_t read(int file, void* buffer, size_t size)
{
    if (beforeRead)
    {
        std::exchange(beforeRead, nullptr)();
    }
    return ::syscall(SYS_read, file, buffer, size);
}

namespace
{

using Load = StoreTest;

TEST_F(Load, NullPathIsRefused)
{
    errno = 0;
    EXPECT_EQ(json_config_load(nullptr, lock.c_str(), 0), nullptr);
    EXPECT_EQ(errno, EINVAL);
}

TEST_F(Load, FlagsAreRefusedAndNothingIsCreated)
{
    for (const unsigned int flags : {1U, 2U, 0x80000000U})
    {
        errno = 0;
        EXPECT_EQ(json_config_load(document.c_str(), lock.c_str(), flags),
                  nullptr);
        EXPECT_EQ(errno, EINVAL);
    }
    EXPECT_TRUE(support::namesIn(scratch.path).empty());
}

TEST_F(Load, WithoutLockAMissingFileGivesNoHandle)
{
    errno = 0;
    EXPECT_EQ(loadReadOnly(), nullptr);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_TRUE(support::namesIn(scratch.path).empty());
}

TEST_F(Load, WithoutLockAnEmptyFileGivesNoHandle)
{
    support::writeFile(document, "");
    errno = 0;
    EXPECT_EQ(loadReadOnly(), nullptr);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(Load, WithLockAMissingFileIsAnEmptyDocument)
{
    Handle config = load();
    ASSERT_NE(config, nullptr);
    EXPECT_EQ(get(config, "BMC", "state"), "(none)");
    EXPECT_EQ(json_config_release(config.release()), 0);
    EXPECT_FALSE(exists(directory));
}

TEST_F(Load, WithLockAnEmptyFileIsAnEmptyDocument)
{
    support::writeFile(document, "");
    const auto before = support::statusOf(document);
    Handle config = load();
    ASSERT_NE(config, nullptr);
    EXPECT_EQ(get(config, "BMC", "state"), "(none)");
    EXPECT_EQ(json_config_release(config.release()), 0);
    EXPECT_TRUE(support::untouched(before, support::statusOf(document)));
}

TEST_F(Load, ReadingTouchesNothing)
{
    support::writeFile(document, R"({"BMC":{"state":"idle"}})");
    const auto before = support::statusOf(document);
    for (const auto& open : {&Load::load, &Load::loadReadOnly})
    {
        Handle config = (this->*open)();
        EXPECT_EQ(get(config, "BMC", "state"), "idle");
        EXPECT_EQ(json_config_release(config.release()), 0);
    }
    EXPECT_TRUE(support::untouched(before, support::statusOf(document)));
    EXPECT_EQ(support::namesIn(directory),
              std::vector<std::string>{"document.json"});
}

/** A document of so many levels. */
std::string nested(size_t levels)
{
    return "{\"a\":" + std::string(levels - 1, '[') +
           std::string(levels - 1, ']') + "}";
}

TEST_F(Load, DeepDocumentsAreRead)
{
    support::writeFile(document, nested(2048));
    EXPECT_NE(loadReadOnly(), nullptr);
}

class UnusableContent : public StoreTest,
                        public testing::WithParamInterface<std::string>
{
};

TEST_P(UnusableContent, GivesNoHandleAndFreesTheLock)
{
    support::writeFile(document, GetParam());
    const auto before = support::statusOf(document);
    for (const auto& open :
         {&UnusableContent::load, &UnusableContent::loadReadOnly})
    {
        errno = 0;
        EXPECT_EQ((this->*open)(), nullptr);
        EXPECT_EQ(errno, EBADMSG);
    }
    EXPECT_TRUE(lockIsFree());
    EXPECT_TRUE(support::untouched(before, support::statusOf(document)));
    EXPECT_EQ(support::readFile(document), GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Documents, UnusableContent,
    testing::Values("{", "   ", R"({"a":{"b":"c"})", R"({"a":{"b":"c"}} x)",
                    R"({"a":{"b":"c"}}{})", "[]", R"(["a"])", R"("text")", "7",
                    "null", R"({"a":{},"a":{}})", R"({"a":{"b":"1","b":"2"}})",
                    R"({"a":{"b":{"c":1,"c":2}}})", R"({'a':{}})",
                    R"({"a":{},})", "{\"a\":{\"b\":\"\xff\"}}",
                    "{\"a\":{\"b\":\"\xc3\"}}",
                    "{\"a\":{\"b\":\"\xed\xa0\x80\"}}",
                    "{\"a\":{\"b\":\"x\ny\"}}", "\xef\xbb\xbf{}",
                    R"({"a\u0000":{},"a\u0000":{}})",
                    R"({"a":{"b":[{"c":1,"c":2}]}})", std::string("{}\0", 3),
                    std::string("{}\0{}", 5), std::string(64, '\0'),
                    std::string(1 << 20, '['), nested(2049)));

INSTANTIATE_TEST_SUITE_P(
    Structure, UnusableContent,
    testing::Values(R"({)", R"({"a")", R"({"a"})", R"({"a":)", R"({"a":})",
                    R"({"a" 1})", R"({,})", R"({"a":1,})", R"({"a":1,,"b":1})",
                    R"({"a":1 "b":1})", R"({"a":1;"b":1})", R"({a:1})",
                    R"({1:1})", R"({"a":1)", R"({"a":1]})", R"({"a":[1})",
                    R"({"a":[1,]})", R"({"a":[,]})", R"({"a":[,1]})",
                    R"({"a":[1 2]})", R"({"a":[1:2]})", R"({"a":[1]]})",
                    R"({"a":{}}})", R"({"a":{"b":1]}})", R"({"a":["b":1]})",
                    R"({"a":1}//)", R"(/**/{"a":1})", R"({{}})", R"({[]})",
                    R"(})", R"(])", R"(:)", R"(,)", R"("a":1)"));

INSTANTIATE_TEST_SUITE_P(Words, UnusableContent,
                         testing::Values(R"({"a":tru})", R"({"a":truee})",
                                         R"({"a":True})", R"({"a":fals})",
                                         R"({"a":nul)", R"({"a":nullnull})",
                                         R"({"a":nan})", R"({"a":Infinity})",
                                         R"({"a":undefined})"));

INSTANTIATE_TEST_SUITE_P(
    Numbers, UnusableContent,
    testing::Values(R"({"a":01})", R"({"a":-01})", R"({"a":00})", R"({"a":-})",
                    R"({"a":+1})", R"({"a":1.})", R"({"a":.5})", R"({"a":-.5})",
                    R"({"a":1.e5})", R"({"a":1e})", R"({"a":1e+})",
                    R"({"a":1E-})", R"({"a":1e1.5})", R"({"a":--1})",
                    R"({"a":1-})", R"({"a":0x10})", R"({"a":1,5})",
                    R"({"a":1_000})", R"({"a":1e5e5})"));

INSTANTIATE_TEST_SUITE_P(
    Strings, UnusableContent,
    testing::Values(R"({"a":")", R"({"a":"x)", R"({"a":"\)", R"({"a":"\")",
                    R"({"a":"\x41"})", R"({"a":"\'"})", R"({"a":"\0"})",
                    R"({"a":"\x0041"})", R"({"a":"\ud83d\xde00"})",
                    R"({"a":"\U0041"})", R"({"a":"\u"})", R"({"a":"\u004"})",
                    R"({"a":"\u00g1"})", R"({"a":"\u 041"})",
                    R"({"a":"\u-041"})", R"({"a":"\u+041"})",
                    R"({"a":"\ud83d"})", R"({"a":"\ud83dx"})",
                    R"({"a":"\ud83d\n"})", R"({"a":"\ud83d\u0041"})",
                    R"({"a":"\ud83d\ue000"})", R"({"a":"\ude00"})",
                    R"({"a":"\ude00\ud83d"})", R"({"\ud83d":1})",
                    R"({"a":"\ud83d\ud83d"})", R"({"a":"\ude00\ude00"})",
                    R"({"a":"\ud800"})", R"({"a":"\ud800\udbff"})",
                    R"({"a":"\udc00"})", R"({"a":"\udfff"})", "{\"a\":\"\t\"}",
                    "{\"a\":\"\x1f\"}", "{\"a\n\":1}"));

INSTANTIATE_TEST_SUITE_P(
    Utf8, UnusableContent,
    testing::Values(
        // Continuations alone and missing.
        "{\"a\":\"\x80\"}", "{\"a\":\"\xbf\"}", "{\"a\":\"\xc3\"}",
        "{\"a\":\"\xe2\x82\"}", "{\"a\":\"\xf0\x9f\x98\"}",
        "{\"a\":\"\xc3\xc3\"}", "{\"a\":\"\xe2\x82\xc3\"}", "{\"a\":\"\xc3",
        "{\"a\":\"\xf0\x9f\x98",
        // More bytes than the character needs.
        "{\"a\":\"\xc0\x80\"}", "{\"a\":\"\xc1\xbf\"}",
        "{\"a\":\"\xe0\x80\x80\"}", "{\"a\":\"\xe0\x9f\xbf\"}",
        "{\"a\":\"\xf0\x80\x80\x80\"}", "{\"a\":\"\xf0\x8f\xbf\xbf\"}",
        // Surrogates, and beyond the last character.
        "{\"a\":\"\xed\xa0\x80\"}", "{\"a\":\"\xed\xbf\xbf\"}",
        "{\"a\":\"\xf4\x90\x80\x80\"}", "{\"a\":\"\xf7\xbf\xbf\xbf\"}",
        "{\"a\":\"\xf8\x88\x80\x80\x80\"}", "{\"a\":\"\xff\"}"));

INSTANTIATE_TEST_SUITE_P(
    DuplicateKeys, UnusableContent,
    testing::Values(
        // Short and long, spelled alike and otherwise, close and far.
        R"({"":1,"":1})", R"({"x":1,"\u0078":1})", R"({"/":1,"\/":1})",
        R"({"section":{},"\u0073ection":{}})",
        R"({"sectio\u006E":{},"section":{}})",
        R"({"\ud83d\ude00":1,"\uD83D\uDE00":1})",
        "{\"\\ud83d\\ude00\":1,\"\xf0\x9f\x98\x80\":1}",
        R"({"a":1,"b_tail":1,"a_tail":1,"c_tail":1,"b_tail":1})",
        R"({"a":[[{"b_tail":1,"a_tail":[{}],"b_tail":1}]]})",
        R"({"a":1,"b":{"x":{"y":{}}},"a":1})"));

TEST_F(Load, KeysThatOnlyResembleEachOtherAreRead)
{
    for (const auto* const content :
         {R"({"a_tail":1,"b_tail":1,"_tail":1,"tail":1,"ail":1,"l":1,"":1})",
          R"({"a":{"x":1},"b":{"x":1},"x":[{"x":1},{"x":1}]})",
          R"({"\u0061_tail":1,"\u0062_tail":1,"b\u0000":1,"b":1})",
          "{\"\xc3\xa4\":1,\"a\xcc\x88\":1,\"A\":1,\"a\":1}"})
    {
        support::writeFile(document, content);
        EXPECT_NE(loadReadOnly(), nullptr) << content;
    }
}

TEST_F(Load, EveryBlankAndNumberOfJsonIsRead)
{
    for (const auto* const content :
         {" \t\r\n{ \t\r\n}\n\t\r ", "{\"a\"\n:\t1\r,\n\"b\" :2 }",
          R"({"a":[0,-0,0.0,10,-1.50,1e5,1E+5,1e-5,0e0,0.1e+10]})",
          R"({"a":[true,false,null,"",{},[],[[]],{"b":{}}]})"})
    {
        support::writeFile(document, content);
        EXPECT_NE(loadReadOnly(), nullptr) << content;
    }
}

TEST_F(Load, FileOf4GibibytesIsRefusedUnread)
{
    support::writeFile(document, "{}");
    std::filesystem::resize_file(document, 1ULL << 32U);
    errno = 0;
    EXPECT_EQ(load(), nullptr);
    EXPECT_EQ(errno, EFBIG);
    EXPECT_TRUE(lockIsFree());
}

TEST_F(Load, DirectoryInPlaceOfTheFile)
{
    create_directories(document);
    errno = 0;
    EXPECT_EQ(load(), nullptr);
    EXPECT_EQ(errno, EISDIR);
    EXPECT_TRUE(lockIsFree());
}

TEST_F(Load, FifoInPlaceOfTheFileDoesNotHang)
{
    create_directories(directory);
    ASSERT_EQ(mkfifo(document.c_str(), 0600), 0);
    errno = 0;
    EXPECT_EQ(load(), nullptr);
    EXPECT_EQ(errno, ENOTSUP);
    errno = 0;
    EXPECT_EQ(loadReadOnly(), nullptr);
    EXPECT_EQ(errno, ENOTSUP);
}

TEST_F(Load, DeviceInPlaceOfTheFile)
{
    create_directories(directory);
    create_symlink("/dev/zero", document);
    errno = 0;
    EXPECT_EQ(load(), nullptr);
    EXPECT_EQ(errno, ENOTSUP);
}

TEST_F(Load, SocketInPlaceOfTheFile)
{
    create_directories(directory);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    document.string().copy(address.sun_path, sizeof(address.sun_path) - 1);
    const int bound = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(::bind(bound, reinterpret_cast<const sockaddr*>(&address),
                     sizeof(address)),
              0);
    errno = 0;
    EXPECT_EQ(load(), nullptr);
    EXPECT_EQ(errno, ENXIO);
    ::close(bound);
}

TEST_F(Load, FileThatIsCutMeanwhileIsReadUpToItsEnd)
{
    const std::string content = R"({"a":{"b":"text"}})";
    support::writeFile(document, content + "\n\n\n");
    beforeRead = [&] { resize_file(document, content.size()); };
    EXPECT_EQ(get(load(), "a", "b"), "text");
    EXPECT_FALSE(beforeRead);
}

TEST_F(Load, DocumentLargerThanOnePageIsReadWhole)
{
    const std::string value(300'000, 'v');
    support::writeFile(document,
                       R"({"a":{"first":")" + value + R"(","last":"end"}})");
    EXPECT_EQ(get(load(), "a", "last"), "end");
}

} // namespace
