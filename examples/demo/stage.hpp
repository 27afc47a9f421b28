// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "disk.hpp"
#include "service_process.hpp"
#include "support/fake_services.hpp"
#include "support/journal_socket.hpp"
#include "support/private_bus.hpp"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace demo
{

/** The program and the configuration that a scenario uses. */
struct Cast
{
    std::filesystem::path service;
    /** The text of the configuration file. */
    std::string configuration;
};

/** A simulated BMC with an update service that was just started: its files,
 *  its bus, its journal, and the services that own the objects on the bus. */
class Stage
{
  public:
    /** Starts from an empty disk; the process is in the sandbox. */
    explicit Stage(const Cast& cast);

    /** A property of an object on the bus as busctl prints it, if any. */
    std::optional<std::string> property(const std::string& path,
                                        const std::string& name);
    /** Ends the updater and its objects; returns once the bus has noticed. */
    void endUpdater();

    /** The calls that have reached the bus since the last time, a line for
     * each: first those to the updater, then the others. */
    std::vector<std::string> takeCalls();
    /** The records that were logged since the last time, a line for each. */
    std::vector<std::string> takeLog();
    /** What has changed on the disk since the last time. */
    std::vector<Change> takeChanges();
    /** The disk as takeChanges() last saw it. */
    const Disk& disk() const;
    /** The disk as takeChanges() saw it one time before that. */
    const Disk& formerDisk() const;

  private:
    /** Is the first member, so that the service finds its configuration. */
    Disk seen;
    Disk former;
    support::PrivateBus bus;
    support::JournalSocket journal;

  public:
    /** Owns the objects of the BMC's software until it ends. */
    std::optional<support::FakeServices> updater;
    support::FakeServices others;
    ServiceProcess service;
};

} // namespace demo
