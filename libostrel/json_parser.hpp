#pragma once

// The parser's own checks would end the process; nothing here depends on them.
// In one place, because all sources have to see the same parser.
#define JSON_ASSERT(condition) static_cast<void>(0)
#include <nlohmann/json.hpp>
