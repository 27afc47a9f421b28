// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "report.hpp"
#include "scenario.hpp"
#include "stage.hpp"
#include "table.hpp"

#include <string>
#include <vector>

namespace demo
{

/** The results of a played scenario. */
struct ScenarioResult
{
    std::vector<Comparison> comparisons;
    Disk disk;
    std::vector<std::string> calls;
    std::vector<std::string> log;
};

/**
 * Plays a scenario on its own stage: shows every step as it happens, and
 * compares it with what is expected. At the end the service must end as well.
 *
 * @param firstStep  the number of the first step
 */
ScenarioResult play(const Scenario& scenario, const Cast& cast, Report& report,
                    std::size_t firstStep);

} // namespace demo
