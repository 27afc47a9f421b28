// SPDX-License-Identifier: Apache-2.0
#include "library_test.hpp"

#include <ostream>

namespace support
{

namespace
{

/** One daemon for the process: one for each test would only cost time. */
PrivateBus& sharedBus()
{
    static PrivateBus bus;
    return bus;
}

JournalRecord record(const char* priority, const std::string& message,
                     const std::string& asWritten, const JournalRecord& fields)
{
    JournalRecord result = fields;
    result["PRIORITY"] = priority;
    result["MESSAGE"] = message;
    result["LOG2_FMTMSG"] = asWritten;
    return result;
}

RecordedCall propertyCall(const Property& property, const char* member,
                          const char* signature, const std::string& value)
{
    return {.destination = property.service,
            .path = property.path,
            .interface = "org.freedesktop.DBus.Properties",
            .member = member,
            .signature = signature,
            .arguments = '"' + property.interface + "\" \"" + property.name +
                         '"' + value,
            .replyExpected = true,
            .autoStart = true};
}

} // namespace

LibraryTest::LibraryTest()
{
    sharedBus();
    for (const auto* const made :
         {"/etc/default/firmware", "/usr/share/firmware", "/run/lock/firmware",
          "/etc/bios-release"})
    {
        std::filesystem::remove_all(made);
    }
}

std::vector<JournalRecord> LibraryTest::loggedWhole()
{
    return journal.take();
}

std::vector<JournalRecord> LibraryTest::logged()
{
    auto records = loggedWhole();
    for (auto& fields : records)
    {
        std::erase_if(fields, [](const auto& field) {
            return field.first.starts_with("CODE_") ||
                   field.first.starts_with("SYSLOG_");
        });
    }
    return records;
}

PrivateBus& LibraryTest::systemBus()
{
    return sharedBus();
}

JournalRecord errorRecord(const std::string& message,
                          const std::string& asWritten,
                          const JournalRecord& fields)
{
    return record("3", message, asWritten, fields);
}

JournalRecord infoRecord(const std::string& message,
                         const std::string& asWritten,
                         const JournalRecord& fields)
{
    return record("6", message, asWritten, fields);
}

RecordedCall getCall(const Property& property)
{
    return propertyCall(property, "Get", "ss", "");
}

RecordedCall setCall(const Property& property, const std::string& value)
{
    return propertyCall(property, "Set", "ssv", ' ' + value);
}

void PrintTo(const RecordedCall& call, std::ostream* out)
{
    *out << call.destination << ' ' << call.path << ' ' << call.interface << ' '
         << call.member << ' ' << call.signature << ' ' << call.arguments
         << (call.replyExpected ? "" : " (no reply)")
         << (call.autoStart ? "" : " (no start)");
}

} // namespace support
