#include "../scenarios.hpp"

namespace demo
{

std::vector<Scenario> allScenarios()
{
    return {configuration(), wholeUpdate(), tornImage(), updaterGone()};
}

} // namespace demo
