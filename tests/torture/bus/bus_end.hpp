#pragma once

#include "bench.hpp"

namespace torture::bus
{

/** The bus ends and comes back: what becomes of the managers made before,
 *  meanwhile and after, and that a caller gets on by making a new one. */
void endTheBus(Bench& bench, const Operation& operation, Report& report);

} // namespace torture::bus
