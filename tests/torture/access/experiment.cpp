// SPDX-License-Identifier: Apache-2.0
#include "torture/experiment.hpp"

#include "actor.hpp"
#include "files.hpp"
#include "parts.hpp"
#include "support/child.hpp"
#include "torture/experiments.hpp"

#include <array>
#include <filesystem>
#include <string_view>
#include <system_error>

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

bool canBecomeNobody()
{
    support::Child child([] {
        try
        {
            access::become(access::As::nobody);
            return 0;
        }
        catch (const std::system_error&)
        {
            return 1;
        }
    });
    return child.wait() == 0;
}

bool canMakeDevices()
{
    constexpr auto device = "/run/device";
    try
    {
        access::makeDevice(device);
    }
    catch (const std::system_error&)
    {
        return false;
    }
    std::filesystem::remove(device);
    return true;
}

std::string_view missing()
{
    return canBecomeNobody() && canMakeDevices()
               ? ""
               : "needs root, with its rights to setgroups and mknod";
}

} // namespace

Experiment whoMayDoWhat()
{
    return {
        .name = "access",
        .claim = "no user harms files of others, by planted files or by names",
        .sabotages = {"privileged", "followed-link", "raw-names", "inherited"},
        .run = run,
        .missing = missing,
    };
}

} // namespace torture
