// SPDX-License-Identifier: Apache-2.0
#include "../paths_and_names.hpp"

#include <libfenmarch.hpp>
#include <phosphor-logging/lg2.hpp>

namespace phosphor::software::updater
{

using namespace fenmarch;

namespace
{

constexpr auto yes = "yes";
constexpr auto no = "no";

} // namespace

// The savers log before they save, so they also log a save that fails.

int FwManager::saveImageCheckResult(bool result)
{
    const auto* const text = result ? yes : no;
    lg2::info("{NAME}: Save image check result to {RESULT}", "NAME", name,
              "RESULT", text);
    return saveVersionStringFromInfo(records::checkResult, text);
}

bool FwManager::readImageCheckResult()
{
    return getVersionStringFromInfo(records::checkResult) == yes;
}

int FwManager::saveUpdateState(std::string state)
{
    lg2::info("{NAME}: Save update state to {ACTIVE}", "NAME", name, "ACTIVE",
              state);
    return saveVersionStringFromInfo(records::updateState, std::move(state));
}

std::string FwManager::readUpdateState()
{
    return getVersionStringFromInfo(records::updateState);
}

} // namespace phosphor::software::updater
