// SPDX-License-Identifier: Apache-2.0
#include "stage.hpp"

#include "one_line.hpp"
#include "support/bus_pointers.hpp"
#include "support/checked.hpp"
#include "support/descriptor.hpp"
#include "support/files.hpp"

#include <systemd/sd-bus.h>

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <thread>
#include <utility>

namespace demo
{

namespace
{

Disk furnishDisk(const std::string& configuration)
{
    clearDisk();
    support::writeFile("/etc/default/firmware/config.json", configuration);
    return readDisk();
}

/** Discards standard error while this object exists. */
class Silence
{
  public:
    Silence()
    {
        const support::Descriptor nowhere(support::checked(
            open("/dev/null", O_WRONLY | O_CLOEXEC), "open /dev/null"));
        support::checked(dup2(nowhere.get(), STDERR_FILENO), "dup2");
    }

    ~Silence()
    {
        dup2(before.get(), STDERR_FILENO);
    }

    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;

  private:
    support::Descriptor before{support::checked(
        fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0), "dup of standard error")};
};

/** Where the daemon must not raise its limit of descriptors, as in a container,
 *  it prints a warning, which would appear in the middle of the report. */
support::PrivateBus startBus()
{
    const Silence silence;
    return support::PrivateBus();
}

constexpr auto updaterName = "xyz.openbmc_project.Software.BMC.Updater";

/** The bus releases a name a little after its owner has closed the connection.
 */
void awaitNoOwner(const std::string& name)
{
    constexpr std::chrono::seconds patience{10};
    constexpr std::chrono::milliseconds pause{5};
    sd_bus* connection = nullptr;
    support::checkedSystemd(sd_bus_open_system(&connection), "open the bus");
    const support::BusPointer bus(connection);
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (sd_bus_get_name_creds(connection, name.c_str(), 0, nullptr) >= 0)
    {
        if (std::chrono::steady_clock::now() > deadline)
        {
            throw std::runtime_error(name + " stays owned");
        }
        std::this_thread::sleep_for(pause);
    }
}

template <typename Seen>
std::vector<std::string> linesOf(const std::vector<Seen>& all)
{
    std::vector<std::string> lines;
    for (const auto& seen : all)
    {
        lines.push_back(oneLine(seen));
    }
    return lines;
}

} // namespace

Stage::Stage(const Cast& cast) :
    seen(furnishDisk(cast.configuration)),
    bus(startBus()),
    updater(std::in_place, std::vector<std::string>{updaterName}),
    others({"xyz.openbmc_project.Firmware.Updater",
            "xyz.openbmc_project.Settings", "xyz.openbmc_project.State.Host"}),
    service(cast.service)
{
    others.setProperty("/xyz/openbmc_project/chassis/buttons/power",
                       "ButtonMasked", "b", "false");
}

std::optional<std::string> Stage::property(const std::string& path,
                                           const std::string& name)
{
    const auto value = updater ? updater->property(path, name) : std::nullopt;
    return value ? value : others.property(path, name);
}

void Stage::endUpdater()
{
    updater.reset();
    awaitNoOwner(updaterName);
}

std::vector<std::string> Stage::takeCalls()
{
    auto lines =
        updater ? linesOf(updater->takeCalls()) : std::vector<std::string>();
    const auto more = linesOf(others.takeCalls());
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

std::vector<std::string> Stage::takeLog()
{
    return linesOf(journal.take());
}

std::vector<Change> Stage::takeChanges()
{
    Disk now = readDisk();
    auto changes = changesBetween(seen, now);
    former = std::exchange(seen, std::move(now));
    return changes;
}

const Disk& Stage::disk() const
{
    return seen;
}

const Disk& Stage::formerDisk() const
{
    return former;
}

} // namespace demo
