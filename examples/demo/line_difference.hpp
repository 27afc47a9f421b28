// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace demo
{

/**
 * The difference between two texts: removed lines (`- `), new lines (`+ `), and
 * the unchanged lines beside them (`  `). Unchanged lines further away are
 * replaced by `  ...`.
 */
std::vector<std::string> lineDifference(const std::vector<std::string>& before,
                                        const std::vector<std::string>& after);

} // namespace demo
