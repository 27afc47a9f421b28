#pragma once

#include <map>
#include <string>
#include <vector>

namespace torture::access
{

/** Every file below some paths: kind, mode, owner, and content or target. */
using Snapshot = std::map<std::string, std::string>;

Snapshot takeSnapshot(const std::vector<std::string>& paths);

/** What is new, gone or different, in words; empty for nothing. */
std::string differences(const Snapshot& before, const Snapshot& after);

} // namespace torture::access
