// What holds for the subsets in subprojects/ and not for every state of the
// packages that they stand in for.

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

TEST_F(Subset, BusClosesTheConnectionThatOthersHold)
{
    sd_bus* connection = nullptr;
    ASSERT_GE(sd_bus_default(&connection), 0);
    {
        const auto bus = sdbusplus::bus::new_default();
        EXPECT_GT(sd_bus_is_open(connection), 0);
    }

    EXPECT_EQ(sd_bus_is_open(connection), 0);
    sd_bus_unref(connection);
}

TEST_F(Subset, BusSendsWhatIsQueuedBeforeItCloses)
{
    sd_bus* connection = nullptr;
    ASSERT_GE(sd_bus_default(&connection), 0);
    {
        // Queued, for the connection is not set up yet.
        const sdbusplus::bus_t bus(connection, std::false_type());
        ASSERT_GE(sd_bus_call_method_async(connection, nullptr, "a.b.Service",
                                           "/a/b", "a.b.I", "Do", nullptr,
                                           nullptr, ""),
                  0);
    }

    auto bus = sdbusplus::bus::new_default();
    auto call = bus.new_method_call("a.b.Service", "/a/b", "a.b.I", "Next");
    bus.call(call);
    const auto calls = service.takeCalls();
    ASSERT_EQ(calls.size(), 2);
    EXPECT_EQ(calls[0].member, "Do");
}

TEST_F(Subset, FailureToConnectShowsInTheFirstMethodCall)
{
    daemon.stop();
    auto bus = sdbusplus::bus::new_default();

    EXPECT_EQ(support::thrownText<sdbusplus::exception::SdBusError>([&] {
                  bus.new_method_call("a.b.Service", "/a/b", "a.b.I", "Do");
              }),
              "sd_bus_message_new_method_call: System.Error.ENOTCONN: "
              "Transport endpoint is not connected");
}

TEST_F(Subset, FailedReadLeavesTheValue)
{
    auto bus = sdbusplus::bus::new_default();
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

TEST(SubsetSdBusError, WithoutATextTellsTheNameAlone)
{
    sd_bus_error source{"a.b.Error.Busy", nullptr, 0};

    const sdbusplus::exception::SdBusError error(&source, "step");

    EXPECT_STREQ(error.what(), "step: a.b.Error.Busy");
}

} // namespace
