// SPDX-License-Identifier: Apache-2.0
#include "support/descriptor.hpp"
#include "support/journal_socket.hpp"

#include <gtest/gtest.h>
#include <phosphor-logging/lg2.hpp>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <limits>
#include <source_location>
#include <stdexcept>
#include <string>

using support::JournalRecord;
using support::JournalSocket;

namespace
{

class Lg2 : public testing::Test
{
  protected:
    /** The one record that was sent. */
    JournalRecord record()
    {
        const auto records = journal.take();
        EXPECT_EQ(records.size(), 1);
        return records.empty() ? JournalRecord() : records.front();
    }

    /** The field VALUE of a record that is given this value. */
    template <typename Value>
    std::string field(const Value& value)
    {
        lg2::info("value", "VALUE", value);
        return record()["VALUE"];
    }

  private:
    JournalSocket journal;
};

TEST_F(Lg2, EachFunctionHasItsPriority)
{
    lg2::error("text");
    EXPECT_EQ(record()["PRIORITY"], "3");
    lg2::info("text");
    EXPECT_EQ(record()["PRIORITY"], "6");
}

TEST_F(Lg2, MessageIsFilledInAndTheTextAndTheFieldsStand)
{
    const std::string name = "bios_active";

    lg2::error("Set {NAME} version failed: {ERROR}", "NAME", name, "ERROR",
               std::runtime_error("no service"));

    auto sent = record();
    EXPECT_EQ(sent["MESSAGE"], "Set bios_active version failed: no service");
    EXPECT_EQ(sent["LOG2_FMTMSG"], "Set {NAME} version failed: {ERROR}");
    EXPECT_EQ(sent["NAME"], "bios_active");
    EXPECT_EQ(sent["ERROR"], "no service");
}

TEST_F(Lg2, OnlyTheFirstPlaceholderOfAFieldIsReplaced)
{
    lg2::info("{NAME} {NAME}", "NAME", std::string("BMC"));

    EXPECT_EQ(record()["MESSAGE"], "BMC {NAME}");
}

TEST_F(Lg2, PlaceholderWithoutAFieldStays)
{
    lg2::info("{NAME} {OTHER}", "NAME", std::string("BMC"));

    EXPECT_EQ(record()["MESSAGE"], "BMC {OTHER}");
}

TEST_F(Lg2, FieldWithoutAPlaceholderIsSent)
{
    lg2::info("text", "NAME", std::string("BMC"));

    auto sent = record();
    EXPECT_EQ(sent["MESSAGE"], "text");
    EXPECT_EQ(sent["NAME"], "BMC");
}

int logAndTellTheLine()
{
    lg2::info("text");
    return __LINE__ - 1;
}

TEST_F(Lg2, LocationIsTheCallers)
{
    const int line = logAndTellTheLine();

    auto sent = record();
    EXPECT_EQ(std::filesystem::path(sent["CODE_FILE"]).filename(),
              "lg2_test.cpp");
    EXPECT_EQ(sent["CODE_LINE"], std::to_string(line));
    EXPECT_NE(sent["CODE_FUNC"].find("logAndTellTheLine"), std::string::npos);
}

TEST_F(Lg2, LocationBeforeTheTextTakesThePlaceOfTheCallers)
{
    const auto where = std::source_location::current();

    lg2::error(where, "text {NAME}", "NAME", 1);

    auto sent = record();
    EXPECT_EQ(sent["CODE_FILE"], where.file_name());
    EXPECT_EQ(sent["CODE_LINE"], std::to_string(where.line()));
    EXPECT_EQ(sent["CODE_FUNC"], where.function_name());
    EXPECT_EQ(sent["PRIORITY"], "3");
    EXPECT_EQ(sent["MESSAGE"], "text 1");
    EXPECT_EQ(sent["NAME"], "1");
}

TEST_F(Lg2, LocationGoesBeforeATextWithoutFieldsToo)
{
    const auto where = std::source_location::current();

    lg2::info(where, "text");

    EXPECT_EQ(record()["CODE_LINE"], std::to_string(where.line()));
}

TEST_F(Lg2, StringsAreSentAsTheyAre)
{
    const char* pointer = "pointer";

    EXPECT_EQ(field(pointer), "pointer");
    EXPECT_EQ(field(std::string("object")), "object");
    EXPECT_EQ(field(std::string()), "");
    EXPECT_EQ(field(std::string("two\nlines=")), "two\nlines=");
}

TEST_F(Lg2, StringEndsAtItsFirstNul)
{
    using namespace std::string_literals;

    EXPECT_EQ(field("before\0behind"s), "before");
}

TEST_F(Lg2, IntegersAreSentInDecimal)
{
    EXPECT_EQ(field(0), "0");
    EXPECT_EQ(field(-7), "-7");
    EXPECT_EQ(field(uint8_t{200}), "200");
    EXPECT_EQ(field(std::numeric_limits<uint64_t>::max()),
              "18446744073709551615");
    EXPECT_EQ(field(std::numeric_limits<int64_t>::min()),
              "-9223372036854775808");
}

TEST_F(Lg2, BooleansAreTrueAndFalse)
{
    EXPECT_EQ(field(true), "True");
    EXPECT_EQ(field(false), "False");
}

TEST_F(Lg2, ExceptionIsSentAsItsText)
{
    const std::logic_error error("reason");
    const std::exception& base = error;

    EXPECT_EQ(field(error), "reason");
    EXPECT_EQ(field(base), "reason");
}

TEST(Lg2Record, FieldsAreInTheirOrder)
{
    const support::Descriptor journal(
        socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, "/run/systemd/journal/socket");
    std::filesystem::create_directories("/run/systemd/journal");
    ASSERT_EQ(bind(journal.get(), reinterpret_cast<sockaddr*>(&address),
                   sizeof(address)),
              0);

    lg2::error("{B} {A}", "B", 1, "A", 2);

    std::array<char, 4096> bytes{};
    const auto size = recv(journal.get(), bytes.data(), bytes.size(), 0);
    unlink(address.sun_path);
    ASSERT_GT(size, 0);
    std::string rest(bytes.data(), static_cast<std::size_t>(size));
    for (const char* part :
         {"MESSAGE=1 2\n", "\nLOG2_FMTMSG={B} {A}\n", "\nPRIORITY=3\n",
          "\nCODE_FILE=", "\nCODE_LINE=", "\nCODE_FUNC=", "\nB=1\n", "\nA=2\n"})
    {
        const auto at = rest.find(part);
        ASSERT_NE(at, std::string::npos) << part << " behind:\n" << rest;
        rest.erase(0, at + 1);
    }
    EXPECT_EQ(rest.find("CODE_"), std::string::npos) << "twice:\n" << rest;
}

} // namespace
