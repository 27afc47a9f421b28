// SPDX-License-Identifier: Apache-2.0

// Compiled by the tests named "lg2 call ...", each with ARGUMENTS of its own.

#include <phosphor-logging/lg2.hpp>

#include <source_location>
#include <stdexcept>
#include <string>
#include <string_view>

struct Values
{
    const char* pointer;
    std::string object;
    std::string_view view;
    char array[4];
    std::runtime_error exception;
    std::source_location location;
};

void logWith(const Values& values)
{
    const auto& [pointer, object, view, array, exception, location] = values;
    lg2::info(ARGUMENTS);
}
