// SPDX-License-Identifier: Apache-2.0
#include "bench.hpp"

#include "held_messages.hpp"
#include "support/checked.hpp"
#include "support/files.hpp"

#include <sdbusplus/exception.hpp>
#include <systemd/sd-bus.h>

#include <filesystem>

namespace torture::bus
{

namespace
{

namespace fs = std::filesystem;
using phosphor::software::updater::FwManager;
using support::Answer;
using support::FakeServices;
using support::JournalRecord;

constexpr auto releaseFile = "/etc/bios-release";
constexpr auto journalSocket = "/run/systemd/journal/socket";
constexpr auto hiddenSocket = "/run/systemd/journal/hidden";

std::string pathOf(const Operation& operation)
{
    return std::string(operation.path) + std::string(operation.object);
}

std::set<std::string> openDescriptors()
{
    const auto names = support::namesIn("/proc/self/fd");
    return {names.begin(), names.end()};
}

} // namespace

Bench::Bench(const Plan& thePlan) : plan(thePlan)
{
    // The first record opens a descriptor that the process keeps.
    const FwManager nameless("none");
    journal.take();
}

FakeServices& Bench::newServices(const Operation& operation)
{
    removeServices();
    services = std::make_unique<FakeServices>();
    services->setProperty(pathOf(operation), std::string(operation.member), "s",
                          "held");
    return *services;
}

void Bench::removeServices()
{
    process.reset();
    services.reset();
}

void Bench::misbehave(const Operation& operation, const Misbehaviour& how)
{
    support::writeFile(releaseFile, releaseBefore);
    newServices(operation);
    servicesStore = how.answer.kind != Answer::Kind::body;
    if (plan.breaks("obedient-services"))
    {
        return;
    }
    services->answer(pathOf(operation), std::string(operation.member),
                     how.answer);
    if (how.peer != Peer::lives)
    {
        removeServices();
    }
    if (how.peer == Peer::killed || how.peer == Peer::stopped)
    {
        process = std::make_unique<ServiceProcess>(operation, how.peer);
    }
}

void Bench::heal(const Operation& operation)
{
    support::writeFile(releaseFile, releaseBefore);
    if (process)
    {
        process->goOn();
    }
    newServices(operation);
    servicesStore = true;
}

Seen Bench::observe(FwManager& manager, const Operation& operation,
                    const std::string& object, const std::string& text)
{
    Seen seen;
    journal.take();
    const auto before = openDescriptors();
    const int messagesBefore = heldMessages();
    leakMessages(plan.breaks("leaked-message"));
    if (plan.breaks("swallowed-journal"))
    {
        fs::rename(journalSocket, hiddenSocket);
    }
    try
    {
        seen.returned = operation.run(manager, object, text);
    }
    catch (const sdbusplus::exception::SdBusError& error)
    {
        seen.left = error.what();
    }
    if (plan.breaks("swallowed-journal"))
    {
        fs::rename(hiddenSocket, journalSocket);
    }
    leakMessages(false);
    seen.heldMessages = heldMessages() - messagesBefore;
    // Before the descriptors: a long record is passed as a descriptor.
    seen.records = takeErrors();
    for (const auto& number : openDescriptors())
    {
        if (!before.contains(number))
        {
            seen.openedDescriptors.insert(number);
        }
    }
    seen.releaseFile = support::readFile(releaseFile);
    if (services && servicesStore)
    {
        seen.property = services->property(pathOf(operation),
                                           std::string(operation.member));
    }
    return seen;
}

std::vector<JournalRecord> Bench::takeErrors()
{
    auto records = journal.take();
    std::erase_if(records, [](const JournalRecord& record) {
        return record.contains("PRIORITY") && record.at("PRIORITY") != "3";
    });
    for (auto& record : records)
    {
        std::erase_if(record, [](const auto& field) {
            return field.first.starts_with("CODE_") ||
                   field.first.starts_with("SYSLOG_");
        });
    }
    return records;
}

void setTimeOut(uint64_t microseconds)
{
    sd_bus* connection = nullptr;
    support::checkedSystemd(sd_bus_default(&connection), "sd_bus_default");
    sd_bus_set_method_call_timeout(connection, microseconds);
    sd_bus_unref(connection);
}

} // namespace torture::bus
