// SPDX-License-Identifier: Apache-2.0
#include "bus_pointers.hpp"
#include "caller.hpp"
#include "private_bus.hpp"

#include <gtest/gtest.h>
#include <systemd/sd-bus.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

using support::BusPointer;
using support::Caller;
using support::PrivateBus;

namespace
{

std::string getId(Caller& caller)
{
    return caller.call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                       "org.freedesktop.DBus", "GetId");
}

/** Why a new connection is refused, or nothing. */
std::error_code connectionError()
{
    try
    {
        Caller caller;
        getId(caller);
    }
    catch (const std::system_error& e)
    {
        return e.code();
    }
    return {};
}

TEST(PrivateBus, IsTheDefaultBusOfThisProcess)
{
    setenv("DBUS_STARTER_BUS_TYPE", "session", 1);
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent", 1);
    PrivateBus privateBus;
    sd_bus* connection = nullptr;

    ASSERT_GE(sd_bus_default(&connection), 0);

    const BusPointer bus(connection);
    const char* address = nullptr;
    const char* name = nullptr;
    ASSERT_GE(sd_bus_get_address(connection, &address), 0);
    EXPECT_STREQ(address, "unix:path=/run/dbus/system_bus_socket");
    ASSERT_GE(sd_bus_get_unique_name(connection, &name), 0);
    EXPECT_STREQ(name, ":1.0");
}

TEST(PrivateBus, LetsAnyNameBeOwned)
{
    PrivateBus privateBus;
    Caller caller;

    EXPECT_EQ(sd_bus_request_name(caller.get(), "a.b.C", 0), 1);
}

TEST(PrivateBus, ReportsThatANameHasNoOwner)
{
    PrivateBus privateBus;
    Caller caller;

    EXPECT_EQ(caller.call("a.b.C", "/a", "a.b.I", "M"),
              "org.freedesktop.DBus.Error.ServiceUnknown: The name a.b.C was "
              "not provided by any .service files");
}

TEST(PrivateBus, BreaksConnectionsWhenItStops)
{
    PrivateBus privateBus;
    Caller caller;
    ASSERT_EQ(getId(caller).size(), 34U);

    privateBus.stop();

    EXPECT_EQ(getId(caller).find("org.freedesktop.DBus.Error."), 0U)
        << getId(caller);
}

TEST(PrivateBus, LeavesNothingThatCouldBeConnectedTo)
{
    PrivateBus privateBus;
    ASSERT_EQ(connectionError(), std::error_code());

    privateBus.stop();

    EXPECT_FALSE(std::filesystem::exists("/run/dbus/system_bus_socket"));
    EXPECT_EQ(connectionError(), std::errc::no_such_file_or_directory);
}

TEST(PrivateBus, StartsAgainAtTheSameAddress)
{
    PrivateBus privateBus;
    Caller before;
    const std::string firstId = getId(before);

    privateBus.stop();
    privateBus.start();

    Caller after;
    const std::string secondId = getId(after);
    EXPECT_EQ(secondId.size(), 34U) << secondId;
    EXPECT_NE(secondId, firstId);
}

TEST(PrivateBus, ThrowsWhenTheDaemonCannotRun)
{
    const std::string path = std::getenv("PATH");
    setenv("PATH", "/nonexistent", 1);

    EXPECT_THROW(PrivateBus(), std::runtime_error);

    setenv("PATH", path.c_str(), 1);
}

} // namespace
