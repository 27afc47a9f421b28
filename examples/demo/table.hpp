// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "terminal.hpp"

#include <cstddef>
#include <string>
#include <vector>

namespace demo
{

/** Something that was expected in a step, and what was seen. */
struct Comparison
{
    std::size_t step;
    /** Where it was seen: service, disk, bus, journal. */
    std::string place;
    std::string expected;
    std::string seen;

    bool isAsExpected() const
    {
        return seen == expected;
    }
};

/** Whether there is a comparison, and each is as expected. */
bool allAsExpected(const std::vector<Comparison>& comparisons);

/** Prints a table with a row for each comparison to standard output. */
void printTable(const Terminal& terminal,
                const std::vector<Comparison>& comparisons);

/** Prints how many are as expected. */
void printSum(const Terminal& terminal,
              const std::vector<Comparison>& comparisons);

} // namespace demo
