// SPDX-License-Identifier: Apache-2.0

// Properties of the subsets in subprojects/ that not every version of the
// replaced packages has.

#include "private_service.hpp"
#include "support/thrown.hpp"

#include <gtest/gtest.h>
#include <phosphor-logging/lg2.hpp>
#include <sdbusplus/bus.hpp>
#include <sdbusplus/exception.hpp>
#include <sdbusplus/message.hpp>
#include <systemd/sd-bus.h>
#include <xyz/openbmc_project/Software/Activation/common.hpp>
#include <xyz/openbmc_project/Software/Version/common.hpp>

#include <string>
#include <type_traits>
#include <typeinfo>
#include <variant>
#include <vector>

namespace
{

namespace software = sdbusplus::common::xyz::openbmc_project::software;

using Subset = platform::PrivateService;

template <typename Type>
bool hasNamesOfItsOwn()
{
    return std::string(typeid(Type).name()).find("fenmarch_subset") !=
           std::string::npos;
}

TEST(SubsetNames, DifferFromThoseOfTheRealPackages)
{
    EXPECT_TRUE(hasNamesOfItsOwn<sdbusplus::bus_t>());
    EXPECT_TRUE(hasNamesOfItsOwn<sdbusplus::message_t>());
    EXPECT_TRUE(hasNamesOfItsOwn<sdbusplus::SdBusInterface>());
    EXPECT_TRUE(hasNamesOfItsOwn<sdbusplus::SdBusImpl>());
    EXPECT_TRUE(hasNamesOfItsOwn<sdbusplus::exception::exception>());
    EXPECT_TRUE(hasNamesOfItsOwn<sdbusplus::exception::SdBusError>());
    EXPECT_TRUE(hasNamesOfItsOwn<sdbusplus::exception::InvalidEnumString>());
    EXPECT_TRUE(hasNamesOfItsOwn<software::Version::VersionPurpose>());
    EXPECT_TRUE(hasNamesOfItsOwn<software::Activation::Activations>());
    EXPECT_TRUE(hasNamesOfItsOwn<lg2::error<>>());
}

/** Notes how a connection is released. */
class Recorder : public sdbusplus::SdBusImpl
{
  public:
    sd_bus* sd_bus_unref(sd_bus* bus) override
    {
        releases.emplace_back("unref");
        return SdBusImpl::sd_bus_unref(bus);
    }

    sd_bus* sd_bus_flush_close_unref(sd_bus* bus) override
    {
        releases.emplace_back("flush_close_unref");
        return SdBusImpl::sd_bus_flush_close_unref(bus);
    }

    std::vector<std::string> releases;
};

TEST_F(Subset, BusIsFlushedAndClosedOnlyIfItShould)
{
    Recorder recorder;
    {
        const auto bus = connectThrough(recorder);
    }
    {
        auto bus = connectThrough(recorder);
        bus.set_should_close(true);
    }
    {
        auto bus = connectThrough(recorder);
        bus.set_should_close(true);
        bus.set_should_close(false);
    }

    EXPECT_EQ(recorder.releases, (std::vector<std::string>{
                                     "unref", "flush_close_unref", "unref"}));
}

TEST_F(Subset, FailedReadLeavesTheValue)
{
    auto bus = connect();
    auto call =
        bus.new_method_call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                            "org.freedesktop.DBus", "GetId");
    auto reply = bus.call(call);
    std::variant<std::string> value("before");

    EXPECT_THROW(reply.read(value), sdbusplus::exception::SdBusError);

    EXPECT_EQ(std::get<std::string>(value), "before");
}

TEST(SubsetSdBusError, LeavesItsSourceEmpty)
{
    sd_bus_error source{};
    sd_bus_error_set(&source, "a.b.Error.Busy", "Not now");

    const sdbusplus::exception::SdBusError error(&source, "step");

    EXPECT_EQ(sd_bus_error_is_set(&source), 0);
}

TEST(SubsetSdBusError, WithoutATextHasOnlyTheName)
{
    sd_bus_error source{"a.b.Error.Busy", nullptr, 0};

    const sdbusplus::exception::SdBusError error(&source, "step");

    EXPECT_STREQ(error.what(), "step: a.b.Error.Busy");
}

} // namespace
