#pragma once

#include "operations.hpp"

#include <vector>

namespace torture
{

/** All operations, and what else allocates: the store's functions by
 *  themselves, and a new manager. */
std::vector<Operation> operationsOnMemory();

} // namespace torture
