#include "../scenarios.hpp"

namespace demo
{

std::vector<Scenario> allScenarios()
{
    return {wholeUpdate(), tornImage(), noBackupArea(), updaterGone()};
}

} // namespace demo
