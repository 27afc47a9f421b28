#pragma once

#include "experiment.hpp"

namespace torture
{

extern const Experiment failingCalls;

} // namespace torture
