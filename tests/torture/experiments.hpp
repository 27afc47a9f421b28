#pragma once

#include "experiment.hpp"

namespace torture
{

extern const Experiment failingCalls;
extern const Experiment kills;
extern const Experiment powerCuts;
extern const Experiment writers;
extern const Experiment memory;
extern const Experiment misbehavingBus;
extern const Experiment whoMayDoWhat;

} // namespace torture
