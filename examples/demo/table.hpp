#pragma once

#include "terminal.hpp"

#include <cstddef>
#include <string>
#include <vector>

namespace demo
{

/** Something that was expected in a step, and what was seen instead, or the
 *  same again. */
struct Row
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

/** Whether there are rows, and each is as expected. */
bool allAsExpected(const std::vector<Row>& rows);

/** Prints the rows to standard output. */
void printTable(const Terminal& terminal, const std::vector<Row>& rows);

/** Prints how many are as expected. */
void printSum(const Terminal& terminal, const std::vector<Row>& rows);

} // namespace demo
