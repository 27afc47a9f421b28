// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "operations.hpp"

#include <vector>

namespace torture
{

/** All operations and everything else that allocates: the store's functions
 *  without the library, and a new manager. */
std::vector<Operation> operationsOnMemory();

} // namespace torture
