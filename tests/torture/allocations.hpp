#pragma once

#include <cstddef>

namespace torture
{

/**
 * Lets the allocations of this process fail: malloc and what stands on it,
 * operator new included. The program's own definitions take the place of the
 * C library's for all shared objects.
 */
namespace allocations
{

/** From now on: this many succeed, then one fails, or all do. */
void failAfter(size_t howMany, bool fromThereOn);

/** No more of them fail. */
void succeed();

/** Whether one has failed since failAfter(). */
bool failed();

/** The blocks that are allocated now. */
size_t blocks();

} // namespace allocations

} // namespace torture
