// SPDX-License-Identifier: Apache-2.0
#include "store_test.hpp"

#include <cstdlib>
#include <new>

namespace
{

/** Whether large allocations fail. */
bool isShort = false;

constexpr size_t largeBytes = 4096;

} // namespace

[[gnu::noinline]] void* operator new(size_t size)
{
    void* const memory =
        isShort && size >= largeBytes ? nullptr : std::malloc(size);
    if (memory == nullptr)
    {
        throw std::bad_alloc();
    }
    return memory;
}

[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, size_t) noexcept
{
    std::free(memory);
}

namespace
{

/** While it lives, there is no memory for a large text. */
class Shortage
{
  public:
    Shortage()
    {
        isShort = true;
    }

    ~Shortage()
    {
        isShort = false;
    }

    Shortage(const Shortage&) = delete;
    Shortage& operator=(const Shortage&) = delete;
};

class Memory : public StoreTest
{
  public:
    const std::string large = std::string(largeBytes, 'x');
    const std::string text = R"({"a":{"b":")" + large + R"("}})";
};

TEST_F(Memory, ThatIsMissingGivesNoHandle)
{
    support::writeFile(document, text);
    {
        const Shortage shortage;
        errno = 0;
        EXPECT_EQ(json_config_load(document.c_str(), lock.c_str(), 0), nullptr);
        EXPECT_EQ(errno, ENOMEM);
    }
    EXPECT_TRUE(lockIsFree());
    EXPECT_NE(load(), nullptr);
}

TEST_F(Memory, IsAllThatTheLargestFileMayLack)
{
    support::writeFile(document, "{}");
    std::filesystem::resize_file(document, (1ULL << 32U) - 1);
    const Shortage shortage;
    errno = 0;
    EXPECT_EQ(json_config_load(document.c_str(), lock.c_str(), 0), nullptr);
    EXPECT_EQ(errno, ENOMEM);
}

TEST_F(Memory, ThatIsMissingFailsTheSetAlone)
{
    support::writeFile(document, text);
    Handle config = load();
    {
        const Shortage shortage;
        errno = 0;
        EXPECT_EQ(json_config_set_string(config.get(), "a", "c", large.c_str()),
                  -1);
        EXPECT_EQ(errno, ENOMEM);
    }
    EXPECT_EQ(json_config_set_string(config.get(), "a", "c", "new"), 0);
    EXPECT_EQ(json_config_release(config.release()), 0);
    EXPECT_EQ(get(load(), "a", "c"), "new");
}

TEST_F(Memory, ThatIsMissingFailsTheReleaseAfterADeletion)
{
    support::writeFile(document, text);
    Handle config = load();
    {
        const Shortage shortage;
        errno = 0;
        EXPECT_EQ(json_config_delete_item(config.get(), "a", "b"), -1);
        EXPECT_EQ(errno, ENOMEM);
    }
    errno = 0;
    EXPECT_EQ(json_config_release(config.release()), -1);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(support::readFile(document), text);
}

} // namespace
