// SPDX-License-Identifier: Apache-2.0

// Only the fields that are given.
#define SD_JOURNAL_SUPPRESS_LOCATION

#include "checked.hpp"
#include "child.hpp"
#include "descriptor.hpp"
#include "journal_socket.hpp"

#include <gtest/gtest.h>
#include <systemd/sd-journal.h>

#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

using support::checked;
using support::Child;
using support::Descriptor;
using support::JournalRecord;
using support::JournalSocket;

namespace
{

/** As a logging library does it: the fields and nothing else. */
int sendRecord(std::vector<std::string> fields)
{
    fields.emplace_back("SYSLOG_IDENTIFIER=test");
    std::vector<iovec> parts;
    for (std::string& field : fields)
    {
        parts.push_back({field.data(), field.size()});
    }
    return sd_journal_sendv(parts.data(), static_cast<int>(parts.size()));
}

JournalRecord expected(JournalRecord fields)
{
    fields["SYSLOG_IDENTIFIER"] = "test";
    return fields;
}

/** Sends the bytes, or the file in place of them. */
void sendRaw(std::string_view bytes, int file = -1)
{
    const Descriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, "/run/systemd/journal/socket");
    std::string payload(bytes);
    iovec part{payload.data(), payload.size()};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    msghdr message{};
    message.msg_name = &address;
    message.msg_namelen = sizeof(address);
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    if (file >= 0)
    {
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        cmsghdr* header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof(int));
        std::memcpy(CMSG_DATA(header), &file, sizeof(file));
    }
    checked(sendmsg(socket.get(), &message, 0), "sendmsg");
}

TEST(JournalSocket, ReceivesARecordWithExactlyItsFields)
{
    JournalSocket journal;

    ASSERT_EQ(sendRecord({"MESSAGE=it works", "PRIORITY=6", "NAME=a=b"}), 0);

    EXPECT_EQ(
        journal.take(),
        (std::vector<JournalRecord>{expected(
            {{"MESSAGE", "it works"}, {"PRIORITY", "6"}, {"NAME", "a=b"}})}));
}

TEST(JournalSocket, ReceivesAValueOfSeveralLines)
{
    JournalSocket journal;

    ASSERT_EQ(sendRecord({"MESSAGE=one\ntwo\n", "NAME=x"}), 0);

    EXPECT_EQ(journal.take(),
              (std::vector<JournalRecord>{
                  expected({{"MESSAGE", "one\ntwo\n"}, {"NAME", "x"}})}));
}

TEST(JournalSocket, ReceivesAMebibyte)
{
    JournalSocket journal;
    const std::string value(1024 * 1024, 'm');

    ASSERT_EQ(sendRecord({"MESSAGE=" + value}), 0);

    const auto records = journal.take();
    ASSERT_EQ(records.size(), 1U);
    EXPECT_TRUE(records[0] == expected({{"MESSAGE", value}}));
}

TEST(JournalSocket, ReceivesARecordPassedAsAFile)
{
    JournalSocket journal;
    const std::string value(100000, 'f');
    const std::string content = "MESSAGE=" + value + "\nPRIORITY=3\n";
    const Descriptor file(memfd_create("record", MFD_CLOEXEC));
    ASSERT_EQ(write(file.get(), content.data(), content.size()),
              static_cast<ssize_t>(content.size()));

    sendRaw("", file.get());

    EXPECT_EQ(journal.take(), (std::vector<JournalRecord>{
                                  {{"MESSAGE", value}, {"PRIORITY", "3"}}}));
}

TEST(JournalSocket, ReceivesMoreThanTheQueueOfTheSocketHolds)
{
    JournalSocket journal;
    std::vector<JournalRecord> sent;

    for (int i = 0; i < 100; ++i)
    {
        ASSERT_EQ(sendRecord({"MESSAGE=" + std::to_string(i)}), 0);
        sent.push_back(expected({{"MESSAGE", std::to_string(i)}}));
    }

    EXPECT_EQ(journal.take(), sent);
}

TEST(JournalSocket, GivesARecordOnce)
{
    JournalSocket journal;
    ASSERT_EQ(sendRecord({"MESSAGE=first"}), 0);
    ASSERT_EQ(journal.take().size(), 1U);

    EXPECT_EQ(journal.take(), std::vector<JournalRecord>());

    ASSERT_EQ(sendRecord({"MESSAGE=second"}), 0);
    EXPECT_EQ(journal.take(),
              (std::vector<JournalRecord>{expected({{"MESSAGE", "second"}})}));
}

TEST(JournalSocket, ReceivesWhatAChildSends)
{
    JournalSocket journal;

    Child child([] { return sendRecord({"MESSAGE=from a child"}); });
    ASSERT_EQ(child.wait(), 0);

    EXPECT_EQ(journal.take(), (std::vector<JournalRecord>{
                                  expected({{"MESSAGE", "from a child"}})}));
}

TEST(JournalSocket, ShowsWhatTheJournalWouldNotAccept)
{
    JournalSocket journal;

    sendRaw("no field");
    sendRaw("");

    EXPECT_EQ(journal.take(), (std::vector<JournalRecord>{
                                  {{"malformed", "a line does not end"}},
                                  {{"malformed", "no field at all"}}}));
}

TEST(JournalSocket, CanBeBoundAgainButNotTwice)
{
    {
        JournalSocket first;
        EXPECT_THROW(JournalSocket(), std::system_error);
        EXPECT_EQ(sendRecord({"MESSAGE=x"}), 0);
        EXPECT_EQ(first.take().size(), 1U);
    }
    EXPECT_FALSE(std::filesystem::exists("/run/systemd/journal/socket"));

    JournalSocket second;
    ASSERT_EQ(sendRecord({"MESSAGE=y"}), 0);
    EXPECT_EQ(second.take(),
              (std::vector<JournalRecord>{expected({{"MESSAGE", "y"}})}));
}

} // namespace
