// Compiled by the tests named "lg2 key ...", each with a KEY of its own.

#include <phosphor-logging/lg2.hpp>

void logWithKey()
{
    lg2::info("text", KEY, 1);
}
