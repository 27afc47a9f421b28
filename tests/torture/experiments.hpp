#pragma once

#include "experiment.hpp"

namespace torture
{

extern const Experiment failingCalls;
extern const Experiment kills;

} // namespace torture
