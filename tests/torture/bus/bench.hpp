// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "misbehaviours.hpp"
#include "service_process.hpp"
#include "support/journal_socket.hpp"
#include "support/private_bus.hpp"
#include "torture/experiment.hpp"

#include <libfenmarch.hpp>

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace torture::bus
{

/** Everything that can be seen of an operation. */
struct Seen
{
    Returned returned;
    /** The text of the SdBusError that it threw, if any. */
    std::string left;
    /** Its records at error level, without the fields that depend on the source
     *  and the process. */
    std::vector<support::JournalRecord> records;
    std::string releaseFile;
    /** What the property holds, as busctl prints it; nothing if the services
     *  are absent, or accept a Set without storing it. */
    std::optional<std::string> property;
    int heldMessages = 0;
    std::set<std::string> openedDescriptors = {};
};

/** The bus, its services, the journal and the files. */
class Bench
{
  public:
    explicit Bench(const Plan& plan);

    /** Restores everything, and then starts the misbehaviour. */
    void misbehave(const Operation& operation, const Misbehaviour& how);
    /** Makes everything work again, except a lost connection. */
    void heal(const Operation& operation);

    Seen observe(phosphor::software::updater::FwManager& manager,
                 const Operation& operation, const std::string& object,
                 const std::string& text);

    support::PrivateBus& systemBus()
    {
        return bus;
    }

    support::FakeServices& newServices(const Operation& operation);
    void removeServices();

  private:
    std::vector<support::JournalRecord> takeErrors();

    const Plan& plan;
    support::PrivateBus bus;
    support::JournalSocket journal;
    std::unique_ptr<support::FakeServices> services;
    std::unique_ptr<ServiceProcess> process;
    bool servicesStore = true;
};

/** Enough for a long text on a busy machine, also with sanitizers. */
inline constexpr uint64_t longTimeOutMicroseconds = 300'000'000;

/** How long the calls of this thread's connection wait. */
void setTimeOut(uint64_t microseconds);

/** What the release file holds before every operation. */
inline constexpr auto releaseBefore = "OTHER=\"kept\"\n";

} // namespace torture::bus
