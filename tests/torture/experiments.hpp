// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "experiment.hpp"

namespace torture
{

Experiment failingCalls();
Experiment kills();
Experiment powerCuts();
Experiment writers();
Experiment memory();
Experiment misbehavingBus();
Experiment whoMayDoWhat();

} // namespace torture
