// SPDX-License-Identifier: Apache-2.0
#include "journal_record.hpp"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

using support::JournalRecord;
using support::parseJournalRecord;

namespace
{

using namespace std::string_literals;
using namespace std::string_view_literals;

std::string faultOf(std::string_view datagram)
{
    const JournalRecord record = parseJournalRecord(datagram);
    const auto fault = record.find("malformed");
    return fault == record.end() ? "" : fault->second;
}

TEST(JournalRecord, ReadsLines)
{
    EXPECT_EQ(parseJournalRecord("MESSAGE=a=b c\nPRIORITY=3\nEMPTY=\n"),
              (JournalRecord{
                  {"MESSAGE", "a=b c"}, {"PRIORITY", "3"}, {"EMPTY", ""}}));
}

TEST(JournalRecord, ReadsCountedBytes)
{
    EXPECT_EQ(parseJournalRecord("A=1\nTEXT\n\5\0\0\0\0\0\0\0x\ny\0=\nB=2\n"sv),
              (JournalRecord{{"A", "1"},
                             {"TEXT", std::string("x\ny\0=", 5)},
                             {"B", "2"}}));
}

TEST(JournalRecord, ReadsACountByItsLowestByteFirst)
{
    const std::string value(0x0102, 'v');

    EXPECT_EQ(parseJournalRecord("TEXT\n\2\1\0\0\0\0\0\0"s + value + "\n"),
              (JournalRecord{{"TEXT", value}}));
}

TEST(JournalRecord, KeepsTheFieldsBeforeAFault)
{
    EXPECT_EQ(
        parseJournalRecord("A=1\nb=2\nC=3\n"),
        (JournalRecord{{"A", "1"}, {"malformed", "not a field name: 'b'"}}));
}

TEST(JournalRecord, ReportsWhatIsMalformed)
{
    EXPECT_EQ(faultOf(""), "no field at all");
    EXPECT_EQ(faultOf("A=1"), "a line does not end");
    EXPECT_EQ(faultOf("A=1\n\n"), "not a field name: ''");
    EXPECT_EQ(faultOf("=1\n"), "not a field name: ''");
    EXPECT_EQ(faultOf("_A=1\n"), "not a field name: '_A'");
    EXPECT_EQ(faultOf("1A=1\n"), "not a field name: '1A'");
    EXPECT_EQ(faultOf("A B=1\n"), "not a field name: 'A B'");
    EXPECT_EQ(faultOf("A=1\nA=1\n"), "a field twice: A");
    EXPECT_EQ(faultOf("A\n\1\0\0\0\0\0\0"sv), "a length is cut off");
    EXPECT_EQ(faultOf("A\n\1\0\0\0\0\0\0\0x"sv),
              "a value does not end where it says");
    EXPECT_EQ(faultOf("A\n\1\0\0\0\0\0\0\0xy\n"sv),
              "a value does not end where it says");
    EXPECT_EQ(faultOf("A\n\377\377\377\377\377\377\377\377x\n"sv),
              "a value does not end where it says");
}

TEST(JournalRecord, TakesANameOfSixtyFourCharacters)
{
    EXPECT_EQ(faultOf(std::string(64, 'N') + "=1\n"), "");
    EXPECT_EQ(faultOf(std::string(65, 'N') + "=1\n"),
              "not a field name: '" + std::string(65, 'N') + "'");
}

} // namespace
