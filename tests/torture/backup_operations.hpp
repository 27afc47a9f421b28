// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "operations.hpp"

#include <vector>

namespace torture
{

/** Backups and promotions, from each state of the slots. */
std::vector<Operation> backupOperations();

} // namespace torture
