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

/** What the interface xyz.openbmc_project.Software.Activation defines. */
struct Activation
{
    enum class Activations
    {
        NotReady,
        Invalid,
        Ready,
        Activating,
        Active,
        Failed,
        Staged,
        Staging
    };

    /** The full dotted text.
     *  @throws std::invalid_argument when the value is not an enumerator */
    static std::string convertActivationsToString(Activations value)
    {
        return activations.toText(value);
    }

    /** @throws exception::InvalidEnumString when the text is not the full
     *          dotted text of an enumerator */
    static Activations convertActivationsFromString(const std::string& text)
    {
        return activations.fromText(text);
    }

  private:
    static constexpr EnumeratorNames<Activations, 8> activations{
        "xyz.openbmc_project.Software.Activation.Activations.",
        {{{Activations::NotReady, "NotReady"},
          {Activations::Invalid, "Invalid"},
          {Activations::Ready, "Ready"},
          {Activations::Activating, "Activating"},
          {Activations::Active, "Active"},
          {Activations::Failed, "Failed"},
          {Activations::Staged, "Staged"},
          {Activations::Staging, "Staging"}}}};
};

} // namespace common::xyz::openbmc_project::software
} // namespace fenmarch_subset
} // namespace sdbusplus
