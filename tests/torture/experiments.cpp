// SPDX-License-Identifier: Apache-2.0
#include "experiments.hpp"

namespace torture
{

const std::vector<Experiment>& experiments()
{
    static const std::vector<Experiment> all{
        failingCalls(), kills(),          powerCuts(),    writers(),
        memory(),       misbehavingBus(), whoMayDoWhat(),
    };
    return all;
}

} // namespace torture
