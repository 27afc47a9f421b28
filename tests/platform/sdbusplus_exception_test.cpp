// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sdbusplus/exception.hpp>
#include <systemd/sd-bus.h>

#include <cerrno>
#include <exception>
#include <type_traits>
#include <utility>

using sdbusplus::exception::InvalidEnumString;
using sdbusplus::exception::SdBusError;

namespace
{

static_assert(std::is_abstract_v<sdbusplus::exception::exception>);
static_assert(
    std::is_base_of_v<std::exception, sdbusplus::exception::exception>);
static_assert(std::is_base_of_v<sdbusplus::exception::exception, SdBusError>);
static_assert(std::is_final_v<SdBusError>);
static_assert(std::is_move_constructible_v<SdBusError>);
static_assert(!std::is_copy_constructible_v<SdBusError>);
static_assert(
    std::is_base_of_v<sdbusplus::exception::exception, InvalidEnumString>);
static_assert(std::is_final_v<InvalidEnumString>);

TEST(SdBusError, OfAnErrorNumberHasItsSystemError)
{
    const SdBusError error(ENOTCONN, "step");

    EXPECT_STREQ(error.what(), "step: System.Error.ENOTCONN: Transport "
                               "endpoint is not connected");
    EXPECT_STREQ(error.name(), "System.Error.ENOTCONN");
    EXPECT_STREQ(error.description(), "Transport endpoint is not connected");
    EXPECT_EQ(error.get_errno(), ENOTCONN);
}

TEST(SdBusError, OfABusErrorHasItsNameAndText)
{
    sd_bus_error source{};
    sd_bus_error_set(&source, "a.b.Error.Busy", "Not now");

    const SdBusError error(&source, "sd_bus_call");

    EXPECT_STREQ(error.what(), "sd_bus_call: a.b.Error.Busy: Not now");
    EXPECT_STREQ(error.name(), "a.b.Error.Busy");
    EXPECT_STREQ(error.description(), "Not now");
    EXPECT_EQ(error.get_errno(), EIO);
}

TEST(SdBusError, MovedErrorKeepsItsTexts)
{
    SdBusError source(EBUSY, "step");

    const SdBusError error(std::move(source));

    EXPECT_STREQ(error.what(),
                 "step: System.Error.EBUSY: Device or resource busy");
    EXPECT_STREQ(error.name(), "System.Error.EBUSY");
    EXPECT_EQ(error.get_errno(), EBUSY);
}

TEST(SdBusError, AssignedErrorTakesTheTextsOver)
{
    SdBusError error(EIO, "before");

    error = SdBusError(EBUSY, "step");

    EXPECT_STREQ(error.what(),
                 "step: System.Error.EBUSY: Device or resource busy");
    EXPECT_STREQ(error.description(), "Device or resource busy");
}

TEST(InvalidEnumString, HasItsNameAndText)
{
    try
    {
        throw InvalidEnumString();
    }
    catch (const sdbusplus::exception::exception& e)
    {
        EXPECT_STREQ(e.name(),
                     "xyz.openbmc_project.sdbusplus.Error.InvalidEnumString");
        EXPECT_STREQ(e.description(),
                     "An enumeration mapping was attempted for which no valid "
                     "enumeration value exists.");
        EXPECT_STREQ(
            e.what(),
            "xyz.openbmc_project.sdbusplus.Error.InvalidEnumString: An "
            "enumeration mapping was attempted for which no valid enumeration "
            "value exists.");
    }
}

} // namespace
