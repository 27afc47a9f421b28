// SPDX-License-Identifier: Apache-2.0
#include "onlooker.hpp"

#include "support/files.hpp"

#include <libfenmarch.hpp>
#include <libostrel.h>

#include <array>
#include <chrono>
#include <csignal>
#include <memory>
#include <thread>
#include <utility>

namespace torture
{

namespace
{

constexpr auto stateFile = "/usr/share/firmware/version.json";
constexpr auto stateLock = "/run/lock/firmware/version.lock";
constexpr int bad = 1;
constexpr size_t fewestLooks = 3;

void waitForTurns(const Looks& looks)
{
    constexpr int longestSeconds = 10;
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::seconds(longestSeconds);
    while (looks < fewestLooks && Clock::now() < end)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

} // namespace

int readFreely(Looks& looks)
{
    for (;; ++looks)
    {
        const std::unique_ptr<json_config_t, decltype(&json_config_release)>
            config(json_config_load(stateFile, nullptr, 0),
                   &json_config_release);
        std::array<char, 256> value{};
        if (config == nullptr ||
            json_config_get_string(config.get(), "BMC", "shared", value.data(),
                                   value.size()) != 0)
        {
            return bad;
        }
    }
}

int holdOn(Looks& looks)
{
    constexpr auto compareTwice =
        "before=$(cksum \"$1\"); read -r _ < /proc/uptime; "
        "after=$(cksum \"$1\"); [ \"$before\" = \"$after\" ]";
    for (;; ++looks)
    {
        const auto outcome = support::run(
            {"flock", stateLock, "sh", "-c", compareTwice, "sh", stateFile});
        if (outcome.status != 0)
        {
            return bad;
        }
    }
}

int readOn(Looks& looks)
{
    phosphor::software::updater::FwManager manager("BMC");
    for (; !manager.getVersionStringFromInfo("shared").empty(); ++looks)
    {
    }
    return bad;
}

int writeInPlace()
{
    while (true)
    {
        support::writeFile(stateFile, support::readFile(stateFile));
    }
}

Onlooker::Onlooker(std::string what, int (*look)(Looks&)) :
    name(std::move(what)), child([this, look] { return look(*looks); })
{
}

void Onlooker::finish(const std::string& who, Report& report)
{
    waitForTurns(*looks);
    child.signal(SIGKILL);
    if (child.wait() != -SIGKILL)
    {
        report.loss(who + ": " + name + " saw what must not be seen");
    }
    else if (*looks < fewestLooks)
    {
        report.loss(who + ": " + name + " were kept waiting");
    }
    report.count(name, *looks);
}

} // namespace torture
