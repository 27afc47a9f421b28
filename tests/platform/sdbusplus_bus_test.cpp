// SPDX-License-Identifier: Apache-2.0
#include "private_service.hpp"
#include "support/bus_that_hangs_up.hpp"
#include "support/child.hpp"
#include "support/thrown.hpp"

#include <gtest/gtest.h>
#include <sdbusplus/bus.hpp>
#include <sdbusplus/exception.hpp>
#include <sdbusplus/sdbus.hpp>
#include <systemd/sd-bus.h>

#include <cerrno>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

using sdbusplus::exception::SdBusError;
using support::Answer;

namespace
{

static_assert(std::is_nothrow_move_constructible_v<sdbusplus::bus_t>);
static_assert(!std::is_copy_constructible_v<sdbusplus::bus_t>);
static_assert(!std::is_default_constructible_v<sdbusplus::bus_t>);
static_assert(std::is_abstract_v<sdbusplus::SdBusInterface>);
static_assert(
    std::is_base_of_v<sdbusplus::SdBusInterface, sdbusplus::SdBusImpl>);

using Bus = platform::PrivateService;

void callService(sdbusplus::bus_t& bus)
{
    auto call = bus.new_method_call("a.b.Service", "/a/b", "a.b.I", "Do");
    bus.call(call);
}

TEST_F(Bus, CallReachesTheMethodItNames)
{
    auto bus = connect();

    callService(bus);

    const auto calls = service.takeCalls();
    ASSERT_EQ(calls.size(), 1);
    EXPECT_EQ(calls[0].destination, "a.b.Service");
    EXPECT_EQ(calls[0].path, "/a/b");
    EXPECT_EQ(calls[0].interface, "a.b.I");
    EXPECT_EQ(calls[0].member, "Do");
    EXPECT_EQ(calls[0].signature, "");
    EXPECT_TRUE(calls[0].replyExpected);
}

TEST_F(Bus, CallReturnsTheReply)
{
    service.setProperty("/a/b", "Version", "s", "1.07");
    auto bus = connect();
    auto call = bus.new_method_call("a.b.Service", "/a/b",
                                    "org.freedesktop.DBus.Properties", "Get");
    call.append("a.b.I", "Version");

    auto reply = bus.call(call);

    std::variant<std::string> value;
    reply.read(value);
    EXPECT_EQ(std::get<std::string>(value), "1.07");
}

TEST_F(Bus, MovedBusKeepsTheConnection)
{
    auto bus = connect();
    sdbusplus::bus_t moved(std::move(bus));

    callService(moved);

    EXPECT_EQ(service.takeCalls().size(), 1);
}

TEST_F(Bus, LeavesTheConnectionOpenToOthers)
{
    sd_bus* const connection = defaultConnection();
    {
        const auto bus = connect();
    }

    EXPECT_GT(sd_bus_is_open(connection), 0);
    sd_bus_close_unref(connection);
}

TEST_F(Bus, ClosesTheConnectionIfItShould)
{
    sd_bus* const connection = defaultConnection();
    {
        auto bus = connect();
        bus.set_should_close(true);
        EXPECT_GT(sd_bus_is_open(connection), 0);
    }

    EXPECT_EQ(sd_bus_is_open(connection), 0);
    sd_bus_unref(connection);
}

TEST_F(Bus, RefusesAClosedConnectionAndReleasesIt)
{
    sd_bus* const connection = defaultConnection();
    sd_bus_close(connection);

    EXPECT_EQ(support::thrownText<std::logic_error>(
                  [&] { sdbusplus::bus_t(connection, std::false_type()); }),
              "basic_string: construction from null is not valid");

    // A closed connection stays the default one as long as somebody holds it.
    auto bus = connect();
    callService(bus);
    EXPECT_EQ(service.takeCalls().size(), 1);
}

TEST_F(Bus, RefusesAConnectionThatBreaksBeforeItHasItsName)
{
    daemon.stop();
    const support::BusThatHangsUp busThatHangsUp;

    EXPECT_THROW(connect(), std::logic_error);
}

TEST_F(Bus, RefusesTheConnectionOfAForkedParent)
{
    const auto bus = connect();
    sd_bus* const connection = defaultConnection();

    // Not asked for in the child: newer states of libsystemd have none for it.
    support::Child child([&] {
        EXPECT_THROW(sdbusplus::bus_t(connection, std::false_type()),
                     std::logic_error);
        return HasFailure() ? 1 : 0;
    });

    EXPECT_EQ(child.wait(), 0);
    sd_bus_unref(connection);
}

TEST_F(Bus, CallToAnAbsentServiceThrowsWhatTheBusSays)
{
    auto bus = connect();
    auto call = bus.new_method_call("a.b.Absent", "/a/b", "a.b.I", "Do");

    try
    {
        bus.call(call);
        FAIL() << "nothing thrown";
    }
    catch (const SdBusError& e)
    {
        EXPECT_STREQ(e.what(),
                     "sd_bus_call: org.freedesktop.DBus.Error.ServiceUnknown: "
                     "The name a.b.Absent was not provided by any .service "
                     "files");
        EXPECT_STREQ(e.name(), "org.freedesktop.DBus.Error.ServiceUnknown");
        EXPECT_STREQ(e.description(),
                     "The name a.b.Absent was not provided by any .service "
                     "files");
        EXPECT_EQ(e.get_errno(), EHOSTUNREACH);
    }
}

TEST_F(Bus, CallThrowsTheErrorOfThePeer)
{
    service.answer("/a/b", "Do", Answer::error("a.b.Error.Busy", "Not now"));
    auto bus = connect();

    try
    {
        callService(bus);
        FAIL() << "nothing thrown";
    }
    catch (const sdbusplus::exception::exception& e)
    {
        EXPECT_STREQ(e.what(), "sd_bus_call: a.b.Error.Busy: Not now");
        EXPECT_STREQ(e.name(), "a.b.Error.Busy");
        EXPECT_STREQ(e.description(), "Not now");
    }
}

TEST_F(Bus, CallThrowsWhenThePeerLeaves)
{
    service.answer("/a/b", "Do", Answer::dropConnection());
    auto bus = connect();

    try
    {
        callService(bus);
        FAIL() << "nothing thrown";
    }
    catch (const SdBusError& e)
    {
        EXPECT_STREQ(e.name(), "org.freedesktop.DBus.Error.NoReply");
        EXPECT_EQ(std::string(e.what()).find("sd_bus_call: "), 0);
    }
}

TEST_F(Bus, MethodCallOfAnInvalidPathIsRefused)
{
    auto bus = connect();

    try
    {
        bus.new_method_call("a.b.Service", "a/b", "a.b.I", "Do");
        FAIL() << "nothing thrown";
    }
    catch (const SdBusError& e)
    {
        EXPECT_STREQ(e.what(),
                     "sd_bus_message_new_method_call: "
                     "org.freedesktop.DBus.Error.InvalidArgs: Invalid "
                     "argument");
        EXPECT_STREQ(e.name(), "org.freedesktop.DBus.Error.InvalidArgs");
        EXPECT_EQ(e.get_errno(), EINVAL);
    }
    EXPECT_TRUE(service.takeCalls().empty());
}

TEST_F(Bus, WithoutAConnectionNoMethodCallIsMade)
{
    sdbusplus::bus_t bus(nullptr, std::false_type());

    EXPECT_EQ(support::thrownText<SdBusError>([&] {
                  bus.new_method_call("a.b.Service", "/a/b", "a.b.I", "Do");
              }),
              "sd_bus_message_new_method_call: System.Error.ENOTCONN: "
              "Transport endpoint is not connected");
}

/** Notes the calls of libsystemd by which a bus_t works. */
class Recorder : public sdbusplus::SdBusImpl
{
  public:
    sd_bus* sd_bus_ref(sd_bus* bus) override
    {
        steps.emplace_back("ref");
        return SdBusImpl::sd_bus_ref(bus);
    }

    int sd_bus_message_new_method_call(sd_bus* bus, sd_bus_message** message,
                                       const char* destination,
                                       const char* path, const char* interface,
                                       const char* member) override
    {
        steps.emplace_back("new_method_call");
        return SdBusImpl::sd_bus_message_new_method_call(
            bus, message, destination, path, interface, member);
    }

    int sd_bus_call(sd_bus* bus, sd_bus_message* message,
                    uint64_t timeoutMicroseconds, sd_bus_error* error,
                    sd_bus_message** reply) override
    {
        steps.push_back("call with the timeout " +
                        std::to_string(timeoutMicroseconds));
        return SdBusImpl::sd_bus_call(bus, message, timeoutMicroseconds, error,
                                      reply);
    }

    std::vector<std::string> steps;
};

TEST_F(Bus, CallsThroughItsInterfaceWithTheDefaultTimeout)
{
    Recorder recorder;
    sd_bus* connection = defaultConnection();
    {
        sdbusplus::bus_t bus(connection, &recorder);
        callService(bus);
    }
    sd_bus_unref(connection);

    EXPECT_EQ(recorder.steps,
              (std::vector<std::string>{"ref", "new_method_call",
                                        "call with the timeout 0"}));
    EXPECT_EQ(service.takeCalls().size(), 1);
}

} // namespace
