// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <vector>

namespace torture::access
{

/** Every file below some paths, with its kind, mode, owner, and its content or
 *  target. */
using Snapshot = std::map<std::string, std::string>;

Snapshot takeSnapshot(const std::vector<std::string>& paths);

/** Describes what is new, missing or different; empty if nothing is. */
std::string differences(const Snapshot& before, const Snapshot& after);

} // namespace torture::access
