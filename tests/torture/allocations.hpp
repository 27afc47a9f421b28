// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace torture
{

/**
 * Makes allocations of this process fail: malloc and everything that uses it,
 * including operator new. The program's own definitions replace those of the C
 * library for all shared objects.
 */
namespace allocations
{

/** From now on this many succeed, and then one fails or all fail. */
void failAfter(size_t howMany, bool fromThereOn);

/** From now on all succeed. */
void succeed();

/** Whether one has failed since failAfter(). */
bool failed();

/** The blocks that are allocated now. */
size_t blocks();

} // namespace allocations

} // namespace torture
