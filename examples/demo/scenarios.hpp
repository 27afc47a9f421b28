// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scenario.hpp"

#include <vector>

namespace demo
{

/** A new BIOS, from the arrival of its image until it runs. */
Scenario wholeUpdate();

/** The same with an image whose end is missing. */
Scenario tornImage();

/** The same with an updater service that ends during the update. */
Scenario updaterGone();

/** The same without a place for the backup. */
Scenario noBackupArea();

/** All scenarios, in the order in which they are played. */
std::vector<Scenario> allScenarios();

} // namespace demo
