// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <xyz/openbmc_project/Software/enumerator_names.hpp>

#include <string>

namespace sdbusplus
{
inline namespace fenmarch_subset
{
namespace common::xyz::openbmc_project::software
{

/** What the interface xyz.openbmc_project.Software.Version defines. */
struct Version
{
    enum class VersionPurpose
    {
        Unknown,
        Other,
        System,
        BMC,
        Host,
        PSU
    };

    /** The full dotted text.
     *  @throws std::invalid_argument when the value is not an enumerator */
    static std::string convertVersionPurposeToString(VersionPurpose value)
    {
        return versionPurposes.toText(value);
    }

    /** @throws exception::InvalidEnumString when the text is not the full
     *          dotted text of an enumerator */
    static VersionPurpose
    convertVersionPurposeFromString(const std::string& text)
    {
        return versionPurposes.fromText(text);
    }

  private:
    static constexpr EnumeratorNames<VersionPurpose, 6> versionPurposes{
        "xyz.openbmc_project.Software.Version.VersionPurpose.",
        {{{VersionPurpose::Unknown, "Unknown"},
          {VersionPurpose::Other, "Other"},
          {VersionPurpose::System, "System"},
          {VersionPurpose::BMC, "BMC"},
          {VersionPurpose::Host, "Host"},
          {VersionPurpose::PSU, "PSU"}}}};
};

} // namespace common::xyz::openbmc_project::software
} // namespace fenmarch_subset
} // namespace sdbusplus
