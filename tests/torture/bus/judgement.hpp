#pragma once

#include "bench.hpp"

namespace torture::bus
{

/** Tells every difference between what was seen of an operation, and how it
 *  has to end, as a loss. */
void judge(Report& report, const std::string& cell, const Seen& seen,
           const Operation& operation, const Ending& ending,
           const std::string& object, const std::string& text);

} // namespace torture::bus
