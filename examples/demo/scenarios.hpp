#pragma once

#include "scenario.hpp"

#include <vector>

namespace demo
{

/** A new BIOS, from the arrival of its image until it runs. */
Scenario wholeUpdate();

/** The same with an image of which the end is missing. */
Scenario tornImage();

/** The same with the updater service gone after some progress. */
Scenario updaterGone();

/** The same without the place for a backup. */
Scenario noBackupArea();

/** All of them, in the order in which they are played. */
std::vector<Scenario> allScenarios();

} // namespace demo
