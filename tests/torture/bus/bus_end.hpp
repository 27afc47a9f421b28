// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench.hpp"

namespace torture::bus
{

/** The bus ends and comes back. Checks the managers made before, meanwhile and
 *  after, and that a caller can continue with a new manager. */
void endTheBus(Bench& bench, const Operation& operation, Report& report);

} // namespace torture::bus
