// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench.hpp"

namespace torture::bus
{

/** Reports as a loss every difference between what was seen of an operation
 *  and how it must end. */
void judge(Report& report, const std::string& cell, const Seen& seen,
           const Operation& operation, const Ending& ending,
           const std::string& object, const std::string& text);

} // namespace torture::bus
