// SPDX-License-Identifier: Apache-2.0
#include "files.hpp"
#include "parts.hpp"
#include "support/child.hpp"
#include "support/private_bus.hpp"
#include "torture/supervised.hpp"

#include <libostrel.h>

#include <fcntl.h>

#include <set>
#include <string>

namespace torture::access
{

namespace
{

using phosphor::software::updater::FwManager;

std::string descriptorsOfAnExecutedProgram()
{
    return support::run({"ls", "/proc/self/fd"}).output;
}

/** Opens everything that the library can keep open between two calls. */
void executeMeanwhile(const Plan& plan, Report& report)
{
    installEverything();
    const std::string before = descriptorsOfAnExecutedProgram();
    const support::PrivateBus bus;
    const FwManager manager("BMC");
    auto* const handle = json_config_load(stateFile, lockFile, 0);
    json_config_set_string(handle, "BMC", "key", "new");
    const support::Descriptor inherited(
        plan.breaks("inherited") ? ::open(lockFile, O_RDONLY) : -1);
    const std::string during = descriptorsOfAnExecutedProgram();
    if (before != during)
    {
        report.loss("an executed program has descriptors " + during);
    }
    json_config_release(handle);
    report.count("executed programs");
}

/** The number of descriptors that the operation opens without O_CLOEXEC.
 *  Another thread may execute a program at any moment, which inherits them. */
size_t openInherited(std::string (*run)(FwManager&), Report& report)
{
    const std::set<std::string> opening{"open", "create", "socket", "pipe"};
    installEverything();
    FwManager manager("BMC");
    Supervised child([&] { return run(manager); });
    size_t inherited = 0;
    while (const auto call = child.next())
    {
        if (opening.contains(call->name))
        {
            report.count("opened files");
            inherited += (call->flags & O_CLOEXEC) == 0 ? 1 : 0;
        }
        child.proceed();
    }
    child.wait();
    return inherited;
}

} // namespace

void execute(const Plan& plan, Report& report)
{
    executeMeanwhile(plan, report);
    for (auto* const run :
         {save, remove, read, readConfiguration, readRelease, setRelease,
          writeRelease, backUp, promote, readBackups})
    {
        if (openInherited(run, report) != 0)
        {
            report.loss("a file is opened without O_CLOEXEC");
        }
    }
}

} // namespace torture::access
