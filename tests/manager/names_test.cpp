// SPDX-License-Identifier: Apache-2.0
#include "support/library_test.hpp"

#include <libfenmarch.hpp>

#include <stdexcept>

namespace
{

using namespace phosphor::software::updater;
using support::errorRecord;
using Strings = std::vector<std::string>;

using Names = support::LibraryTest;

TEST_F(Names, EnumStringIsCutAtItsLastDot)
{
    EXPECT_EQ(getNameFromEnumString(
                  "xyz.openbmc_project.Software.Version.VersionPurpose.BMC"),
              "BMC");
    EXPECT_EQ(getNameFromEnumString("a.b"), "b");
    EXPECT_EQ(getNameFromEnumString(".b"), "b");
}

TEST_F(Names, EnumStringWithoutADotHasNoName)
{
    EXPECT_EQ(getNameFromEnumString("BMC"), "");
    EXPECT_EQ(getNameFromEnumString(""), "");
}

TEST_F(Names, EnumStringThatEndsInADotHasNoName)
{
    EXPECT_EQ(getNameFromEnumString("a.b."), "");
    EXPECT_EQ(getNameFromEnumString("."), "");
}

const std::vector<std::pair<VersionPurpose, std::string>> purposes = {
    {VersionPurpose::Unknown, "Unknown"}, {VersionPurpose::Other, "Other"},
    {VersionPurpose::System, "System"},   {VersionPurpose::BMC, "BMC"},
    {VersionPurpose::Host, "Host"},       {VersionPurpose::PSU, "PSU"}};

const std::vector<std::pair<Activations, std::string>> activations = {
    {Activations::NotReady, "NotReady"},
    {Activations::Invalid, "Invalid"},
    {Activations::Ready, "Ready"},
    {Activations::Activating, "Activating"},
    {Activations::Active, "Active"},
    {Activations::Failed, "Failed"},
    {Activations::Staged, "Staged"},
    {Activations::Staging, "Staging"}};

TEST_F(Names, PurposesConvertBothWays)
{
    for (const auto& [purpose, name] : purposes)
    {
        EXPECT_EQ(getNameFromVersionPurpose(purpose), name);
        EXPECT_EQ(getVersionPurposeFromName(name), purpose);
    }
    EXPECT_TRUE(logged().empty());
}

TEST_F(Names, ActivationsConvertBothWays)
{
    for (const auto& [activation, name] : activations)
    {
        EXPECT_EQ(getNameFromActivations(activation), name);
        EXPECT_EQ(getActivationsFromName(name), activation);
    }
    EXPECT_TRUE(logged().empty());
}

TEST_F(Names, ValueOutsideTheEnumerationThrowsAndLogsNothing)
{
    EXPECT_THROW(getNameFromVersionPurpose(static_cast<VersionPurpose>(4711)),
                 std::invalid_argument);
    EXPECT_THROW(getNameFromActivations(static_cast<Activations>(-1)),
                 std::invalid_argument);
    EXPECT_TRUE(logged().empty());
}

TEST_F(Names, UnknownPurposeIsLoggedAndIsUnknown)
{
    for (const std::string name :
         {"host", "", "BMC ", "Version.VersionPurpose.BMC",
          "xyz.openbmc_project.Software.Version.VersionPurpose.BMC"})
    {
        EXPECT_EQ(getVersionPurposeFromName(name), VersionPurpose::Unknown);
        EXPECT_EQ(logged(),
                  std::vector{errorRecord(
                      "Failed get version purpose from name " + name + "!",
                      "Failed get version purpose from name {NAME}!",
                      {{"NAME", name}})});
    }
}

TEST_F(Names, UnknownActivationIsLoggedAndHasValueZero)
{
    for (const std::string name : {"staged", "", "Active.", "7"})
    {
        EXPECT_EQ(getActivationsFromName(name), static_cast<Activations>(0));
        EXPECT_EQ(logged(), std::vector{errorRecord(
                                "Failed get activation from name " + name + "!",
                                "Failed get activation from name {NAME}!",
                                {{"NAME", name}})});
    }
}

TEST_F(Names, TextIsSplitAtEveryComma)
{
    EXPECT_EQ(processDotString("a,b"), (Strings{"a", "b"}));
    EXPECT_EQ(processDotString("a"), Strings{"a"});
    EXPECT_EQ(processDotString("a.b;c"), Strings{"a.b;c"});
}

TEST_F(Names, SplittingKeepsEmptyElements)
{
    EXPECT_EQ(processDotString(""), Strings{""});
    EXPECT_EQ(processDotString(","), (Strings{"", ""}));
    EXPECT_EQ(processDotString(",,"), (Strings{"", "", ""}));
    EXPECT_EQ(processDotString("a,,b,"), (Strings{"a", "", "b", ""}));
}

TEST_F(Names, SplittingKeepsBlanks)
{
    EXPECT_EQ(processDotString("a, b,"), (Strings{"a", " b", ""}));
    EXPECT_EQ(processDotString(" \t,\n"), (Strings{" \t", "\n"}));
}

TEST_F(Names, ANulEndsItsElement)
{
    using namespace std::string_literals;
    EXPECT_EQ(processDotString("a\0x,b,\0"s), (Strings{"a", "b", ""}));
}

} // namespace
