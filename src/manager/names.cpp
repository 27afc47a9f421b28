// SPDX-License-Identifier: Apache-2.0
#include <libfenmarch.hpp>
#include <phosphor-logging/lg2.hpp>

#include <exception>

namespace phosphor::software::updater
{

namespace
{

using sdbusplus::common::xyz::openbmc_project::software::Activation;
using sdbusplus::common::xyz::openbmc_project::software::Version;

constexpr auto purposePrefix =
    "xyz.openbmc_project.Software.Version.VersionPurpose.";
constexpr auto activationPrefix =
    "xyz.openbmc_project.Software.Activation.Activations.";

} // namespace

std::string getNameFromEnumString(std::string text)
{
    const auto dot = text.rfind('.');
    return dot == std::string::npos ? "" : text.substr(dot + 1);
}

// The handlers of the next two functions convert again on purpose: for a value
// that is not an enumerator this throws, and the caller gets that exception.

std::string getNameFromVersionPurpose(VersionPurpose value)
{
    try
    {
        return getNameFromEnumString(
            Version::convertVersionPurposeToString(value));
    }
    catch (const std::exception&)
    {
        lg2::error("Failed get name from version purpose {PURPOSE}!", "PURPOSE",
                   Version::convertVersionPurposeToString(value));
        return "";
    }
}

std::string getNameFromActivations(Activations value)
{
    try
    {
        return getNameFromEnumString(
            Activation::convertActivationsToString(value));
    }
    catch (const std::exception&)
    {
        lg2::error("Failed get name from activation {ACTIVATION}!",
                   "ACTIVATION", Activation::convertActivationsToString(value));
        return "";
    }
}

VersionPurpose getVersionPurposeFromName(std::string name)
{
    try
    {
        return Version::convertVersionPurposeFromString(purposePrefix + name);
    }
    catch (const std::exception&)
    {
        lg2::error("Failed get version purpose from name {NAME}!", "NAME",
                   name);
        return VersionPurpose{};
    }
}

Activations getActivationsFromName(std::string name)
{
    try
    {
        return Activation::convertActivationsFromString(activationPrefix +
                                                        name);
    }
    catch (const std::exception&)
    {
        lg2::error("Failed get activation from name {NAME}!", "NAME", name);
        return Activations{};
    }
}

std::vector<std::string> processDotString(std::string text)
{
    std::vector<std::string> elements;
    std::string::size_type start = 0;
    auto comma = text.find(',');
    while (comma != std::string::npos)
    {
        // As a C string, so that a NUL ends the element.
        elements.emplace_back(text.substr(start, comma - start).c_str());
        start = comma + 1;
        comma = text.find(',', start);
    }
    elements.emplace_back(text.substr(start).c_str());
    return elements;
}

} // namespace phosphor::software::updater
