#include "onlooker.hpp"

#include "support/files.hpp"

#include <libfenmarch.hpp>
#include <libostrel.h>

#include <array>
#include <csignal>
#include <memory>
#include <utility>

namespace torture
{

namespace
{

constexpr auto stateFile = "/usr/share/firmware/version.json";
constexpr auto stateLock = "/run/lock/firmware/version.lock";
constexpr int bad = 1;
// Fewer mean that somebody was kept waiting for ever.
constexpr size_t fewestLooks = 3;

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
    child.signal(SIGKILL);
    if (child.wait() != -SIGKILL)
    {
        report.loss(who + ": " + name + " saw what is not to be seen");
    }
    if (*looks < fewestLooks)
    {
        report.loss(who + ": " + name + " were kept waiting");
    }
    report.count(name, *looks);
}

} // namespace torture
