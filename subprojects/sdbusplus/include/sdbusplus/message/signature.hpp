// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace sdbusplus
{
inline namespace fenmarch_subset
{
namespace message
{

/** The D-Bus signature of a C++ type that a variant can hold. Undefined for
 *  any other type, so that its use does not compile. */
template <typename Type>
struct Signature;

template <>
struct Signature<std::string>
{
    static constexpr const char* text = "s";
};

template <>
struct Signature<bool>
{
    static constexpr const char* text = "b";
};

template <>
struct Signature<uint8_t>
{
    static constexpr const char* text = "y";
};

template <>
struct Signature<std::vector<std::string>>
{
    static constexpr const char* text = "as";
};

} // namespace message
} // namespace fenmarch_subset
} // namespace sdbusplus
