// SPDX-License-Identifier: Apache-2.0

/**
 * A scenario as data: steps, and for each step what must be seen. All expected
 * texts are literals and are not taken from the library.
 */
#pragma once

#include "stage.hpp"

#include <functional>
#include <string>
#include <vector>

namespace demo
{

/** A check of the simulated BMC after a step. */
struct Check
{
    /** Where: "disk" or "bus". */
    std::string place;
    std::string expected;
    /** Returns what is seen, in the same words. */
    std::function<std::string(Stage&)> look;
};

/**
 * One step. These lists must be complete: a change, a call or a log record that
 * is not listed is as wrong as one that is missing.
 */
struct Step
{
    std::string title;
    /** What other programs do before the request. */
    std::function<void(Stage&)> before{};
    /** The request to the service, as for ServiceProcess::ask(); empty if there
     *  is none. */
    std::string request{};
    /** What it answers. */
    std::vector<std::string> answer{};
    /** The files that changed, as Change::summary. */
    std::vector<std::string> files{};
    /** The calls that reached the bus, as oneLine() of them. */
    std::vector<std::string> calls{};
    /** The log records, as oneLine() of them. */
    std::vector<std::string> log{};
    std::vector<Check> checks{};
};

struct Scenario
{
    /** The name of the directory that keeps its files. */
    std::string name;
    std::string title;
    std::vector<Step> steps;
};

} // namespace demo
