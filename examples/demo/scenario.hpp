/**
 * A scenario as data: steps, and for each step what is to be seen then. All
 * expected texts are literals, written down here and not taken from the
 * library.
 */
#pragma once

#include "stage.hpp"

#include <functional>
#include <string>
#include <vector>

namespace demo
{

/** A look at the simulated BMC after a step. */
struct Check
{
    /** Where: "disk" or "bus". */
    std::string place;
    std::string expected;
    /** What is seen, in the same words. */
    std::function<std::string(Stage&)> look;
};

/**
 * One step. What is seen in it must be these lists to the last entry: a change,
 * a call or a log record that is not listed is as wrong as one that is missing.
 */
struct Step
{
    std::string title;
    /** What others than the service do, before the request. */
    std::function<void(Stage&)> before{};
    /** What the service is asked, as ServiceProcess::ask() takes it; nothing
     *  if empty. */
    std::string request{};
    /** What it answers. */
    std::vector<std::string> answer{};
    /** The files that changed, as Change::summary. */
    std::vector<std::string> files{};
    /** The calls that reached the bus, as oneLine() of them. */
    std::vector<std::string> calls{};
    /** What was logged, likewise. */
    std::vector<std::string> log{};
    std::vector<Check> checks{};
};

struct Scenario
{
    /** Names the directory of the files that are kept of it. */
    std::string name;
    std::string title;
    std::vector<Step> steps;
};

} // namespace demo
