// SPDX-License-Identifier: Apache-2.0
#include "support/thrown.hpp"

#include <gtest/gtest.h>
#include <sdbusplus/exception.hpp>
#include <xyz/openbmc_project/Software/Activation/common.hpp>
#include <xyz/openbmc_project/Software/Version/common.hpp>

#include <array>
#include <stdexcept>
#include <string>
#include <utility>

using sdbusplus::common::xyz::openbmc_project::software::Activation;
using sdbusplus::common::xyz::openbmc_project::software::Version;
using sdbusplus::exception::InvalidEnumString;

namespace
{

using Activations = Activation::Activations;
using VersionPurpose = Version::VersionPurpose;

// Programs store the numbers, so they are as fixed as the names.
static_assert(static_cast<int>(VersionPurpose::Unknown) == 0);
static_assert(static_cast<int>(VersionPurpose::PSU) == 5);
static_assert(static_cast<int>(Activations::NotReady) == 0);
static_assert(static_cast<int>(Activations::Staging) == 7);

constexpr std::array<std::pair<VersionPurpose, const char*>, 6> purposes{{
    {VersionPurpose::Unknown,
     "xyz.openbmc_project.Software.Version.VersionPurpose.Unknown"},
    {VersionPurpose::Other,
     "xyz.openbmc_project.Software.Version.VersionPurpose.Other"},
    {VersionPurpose::System,
     "xyz.openbmc_project.Software.Version.VersionPurpose.System"},
    {VersionPurpose::BMC,
     "xyz.openbmc_project.Software.Version.VersionPurpose.BMC"},
    {VersionPurpose::Host,
     "xyz.openbmc_project.Software.Version.VersionPurpose.Host"},
    {VersionPurpose::PSU,
     "xyz.openbmc_project.Software.Version.VersionPurpose.PSU"},
}};

constexpr std::array<std::pair<Activations, const char*>, 8> activations{{
    {Activations::NotReady,
     "xyz.openbmc_project.Software.Activation.Activations.NotReady"},
    {Activations::Invalid,
     "xyz.openbmc_project.Software.Activation.Activations.Invalid"},
    {Activations::Ready,
     "xyz.openbmc_project.Software.Activation.Activations.Ready"},
    {Activations::Activating,
     "xyz.openbmc_project.Software.Activation.Activations.Activating"},
    {Activations::Active,
     "xyz.openbmc_project.Software.Activation.Activations.Active"},
    {Activations::Failed,
     "xyz.openbmc_project.Software.Activation.Activations.Failed"},
    {Activations::Staged,
     "xyz.openbmc_project.Software.Activation.Activations.Staged"},
    {Activations::Staging,
     "xyz.openbmc_project.Software.Activation.Activations.Staging"},
}};

/** The text of what converting a number that is no enumerator throws. */
template <typename Enumeration>
std::string refusal(std::string (*convert)(Enumeration), int number)
{
    return support::thrownText<std::invalid_argument>(
        [&] { convert(static_cast<Enumeration>(number)); });
}

TEST(VersionPurpose, HasItsFullText)
{
    for (const auto& [purpose, text] : purposes)
    {
        EXPECT_EQ(Version::convertVersionPurposeToString(purpose), text);
        EXPECT_EQ(Version::convertVersionPurposeFromString(text), purpose);
    }
}

TEST(VersionPurpose, ValueOutsideThrowsItsNumber)
{
    EXPECT_EQ(refusal(Version::convertVersionPurposeToString, 1000), "1000");
    EXPECT_EQ(refusal(Version::convertVersionPurposeToString, -1), "-1");
}

TEST(VersionPurpose, OtherTextThrows)
{
    for (const char* text :
         {"", "BMC", "xyz.openbmc_project.Software.Version.VersionPurpose.",
          "xyz.openbmc_project.Software.Version.VersionPurpose.bmc",
          "xyz.openbmc_project.Software.Version.VersionPurpose.BMC ",
          "xyz.openbmc_project.Software.Activation.Activations.Active"})
    {
        EXPECT_THROW(Version::convertVersionPurposeFromString(text),
                     InvalidEnumString)
            << text;
    }
}

TEST(Activations, HaveTheirFullText)
{
    for (const auto& [activation, text] : activations)
    {
        EXPECT_EQ(Activation::convertActivationsToString(activation), text);
        EXPECT_EQ(Activation::convertActivationsFromString(text), activation);
    }
}

TEST(Activations, ValueOutsideThrowsItsNumber)
{
    EXPECT_EQ(refusal(Activation::convertActivationsToString, 1000), "1000");
    EXPECT_EQ(refusal(Activation::convertActivationsToString, -1), "-1");
}

TEST(Activations, OtherTextThrows)
{
    for (const char* text :
         {"", "Active", "xyz.openbmc_project.Software.Activation.Activations.",
          "xyz.openbmc_project.Software.Activation.Activations.active",
          "xyz.openbmc_project.Software.Version.VersionPurpose.BMC"})
    {
        EXPECT_THROW(Activation::convertActivationsFromString(text),
                     InvalidEnumString)
            << text;
    }
}

} // namespace
