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

/** All that can be seen of an operation. */
struct Seen
{
    Told told;
    /** The text of the SdBusError that left it, if one did. */
    std::string left;
    /** Its records at error level, less the fields that depend on the source
     *  and the process. */
    std::vector<support::JournalRecord> records;
    std::string releaseFile;
    /** What the property holds, as busctl prints it; none when the services
     *  are not at hand or do as if. */
    std::optional<std::string> property;
    int heldMessages = 0;
    std::set<std::string> openedDescriptors = {};
};

/** The bus, its services, the journal and the files. */
class Bench
{
  public:
    explicit Bench(const Plan& plan);

    /** Puts all in order, and then lets the misbehaviour in. */
    void misbehave(const Operation& operation, const Misbehaviour& how);
    /** Everything works again, but for a connection that is lost. */
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

/** Enough for a long text on a busy machine, in a sanitized build. */
inline constexpr uint64_t longTimeOutMicroseconds = 300'000'000;

/** How long the calls of this thread's connection wait. */
void setTimeOut(uint64_t microseconds);

/** What the release file holds before every operation. */
inline constexpr auto releaseBefore = "OTHER=\"kept\"\n";

} // namespace torture::bus
