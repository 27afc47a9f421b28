// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/mman.h>

#include <cerrno>
#include <new>
#include <system_error>
#include <type_traits>

namespace support
{

/** A value that this process shares with the children that it forks. */
template <typename Value>
class SharedMemory
{
  public:
    SharedMemory() : value(new(map()) Value{})
    {
    }

    ~SharedMemory()
    {
        static_assert(std::is_trivially_destructible_v<Value>);
        ::munmap(value, sizeof(Value));
    }

    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;

    Value& operator*() const
    {
        return *value;
    }

    Value* operator->() const
    {
        return value;
    }

  private:
    static void* map()
    {
        void* const memory =
            ::mmap(nullptr, sizeof(Value), PROT_READ | PROT_WRITE,
                   MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED)
        {
            throw std::system_error(errno, std::generic_category(), "mmap");
        }
        return memory;
    }

    Value* const value;
};

} // namespace support
