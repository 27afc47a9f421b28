#include "torture/experiment.hpp"

#include "files.hpp"
#include "parts.hpp"
#include "torture/experiments.hpp"

#include <array>

namespace torture
{

namespace
{

constexpr std::array parts{
    access::actUnprivileged, access::plant,       access::shareTheLockDirectory,
    access::nameHostilely,   access::nameBackups, access::execute,
};

void run(const Plan& plan, Report& report)
{
    for (const auto part : parts)
    {
        part(plan, report);
    }
    access::removeEverything();
}

} // namespace

Experiment whoMayDoWhat()
{
    return {
        .name = "access",
        .claim = "nobody harms what is not his, whatever he plants or names",
        .sabotages = {"privileged", "followed-link", "raw-names", "inherited"},
        .run = run,
    };
}

} // namespace torture
