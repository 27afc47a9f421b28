// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "fake_services.hpp"
#include "files.hpp"
#include "journal_socket.hpp"
#include "mount.hpp"
#include "private_bus.hpp"

#include <gtest/gtest.h>

#include <iosfwd>
#include <string>
#include <vector>

namespace support
{

/**
 * The start of every test of the library: no files of the library, a private
 * system bus without services, and a journal.
 */
class LibraryTest : public testing::Test
{
  public:
    static constexpr auto configFile = "/etc/default/firmware/config.json";
    static constexpr auto stateFile = "/usr/share/firmware/version.json";
    static constexpr auto stateLock = "/run/lock/firmware/version.lock";

    LibraryTest();

    /** What was logged since the last call, with all fields. */
    std::vector<JournalRecord> loggedWhole();

    /**
     * What was logged since the last call, each record without the fields that
     * depend on the source and the process: only MESSAGE, LOG2_FMTMSG, PRIORITY
     * and the fields of the message.
     */
    std::vector<JournalRecord> logged();

    PrivateBus& systemBus();

  private:
    JournalSocket journal;
};

/** The record of an error: its text, the text as written, and its fields. */
JournalRecord errorRecord(const std::string& message,
                          const std::string& asWritten,
                          const JournalRecord& fields);

/** The same at informational level. */
JournalRecord infoRecord(const std::string& message,
                         const std::string& asWritten,
                         const JournalRecord& fields);

/** A property of an object of a service. */
struct Property
{
    std::string service;
    std::string path;
    std::string interface;
    std::string name;
};

/** The call that reads it, as a service records it. */
RecordedCall getCall(const Property& property);

/** The call that sets it: the value with its type before it, as in
 *  "s \"text\"". */
RecordedCall setCall(const Property& property, const std::string& value);

/** Shows a call in a failed expectation. */
void PrintTo(const RecordedCall& call, std::ostream* out);

/** LibraryTest with the services of the BMC. */
class BusTest : public LibraryTest
{
  public:
    FakeServices services;
};

} // namespace support
