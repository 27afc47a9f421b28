// SPDX-License-Identifier: Apache-2.0
#include "allocations.hpp"

#include <atomic>
#include <cerrno>
#include <cstdint>

extern "C"
{
// The C library's own names for its allocator.
// NOLINTBEGIN(bugprone-reserved-identifier)
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void __libc_free(void* block);
// NOLINTEND(bugprone-reserved-identifier)
}

namespace
{

constinit std::atomic<size_t> untilFailure = SIZE_MAX;
constinit std::atomic<bool> failOn = false;
constinit std::atomic<bool> hasFailed = false;
constinit std::atomic<size_t> alive = 0;

bool fails()
{
    if (untilFailure == SIZE_MAX)
    {
        return false;
    }
    if (untilFailure > 0)
    {
        --untilFailure;
        return false;
    }
    if (hasFailed && !failOn)
    {
        return false;
    }
    hasFailed = true;
    errno = ENOMEM;
    return true;
}

void* counted(void* block)
{
    alive += block != nullptr ? 1 : 0;
    return block;
}

} // namespace

extern "C"
{

void* malloc(size_t size)
{
    return fails() ? nullptr : counted(__libc_malloc(size));
}

void* calloc(size_t nmemb, size_t size)
{
    return fails() ? nullptr : counted(__libc_calloc(nmemb, size));
}

void* realloc(void* ptr, size_t size)
{
    if (fails())
    {
        return nullptr;
    }
    void* const moved = __libc_realloc(ptr, size);
    return ptr == nullptr ? counted(moved) : moved;
}

void free(void* ptr)
{
    alive -= ptr != nullptr ? 1 : 0;
    __libc_free(ptr);
}
}

namespace torture::allocations
{

void failAfter(size_t howMany, bool fromThereOn)
{
    hasFailed = false;
    failOn = fromThereOn;
    untilFailure = howMany;
}

void succeed()
{
    untilFailure = SIZE_MAX;
}

bool failed()
{
    return hasFailed;
}

size_t blocks()
{
    return alive;
}

} // namespace torture::allocations
