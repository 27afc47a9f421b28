#pragma once

#include "report.hpp"
#include "scenario.hpp"
#include "stage.hpp"
#include "table.hpp"

#include <string>
#include <vector>

namespace demo
{

/** What a played scenario has left behind. */
struct Outcome
{
    std::vector<Row> rows;
    Disk disk;
    std::vector<std::string> calls;
    std::vector<std::string> log;
};

/**
 * Plays a scenario on a stage of its own: every step is shown as it happens,
 * and compared with what is expected. At the end the service has to end too.
 *
 * @param firstStep  the number of the first step
 */
Outcome play(const Scenario& scenario, const Cast& cast, Report& report,
             std::size_t firstStep);

} // namespace demo
