// SPDX-License-Identifier: Apache-2.0
#include "../scenarios.hpp"

namespace demo
{

std::vector<Scenario> allScenarios()
{
    return {wholeUpdate(), tornImage(), noBackupArea(), updaterGone()};
}

} // namespace demo
