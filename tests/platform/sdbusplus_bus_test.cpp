#include "private_service.hpp"

#include <gtest/gtest.h>
#include <sdbusplus/bus.hpp>
#include <sdbusplus/exception.hpp>
#include <sdbusplus/sdbus.hpp>
#include <systemd/sd-bus.h>

#include <cerrno>
#include <cstdint>
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

sd_bus* defaultConnection()
{
    sd_bus* connection = nullptr;
    EXPECT_GE(sd_bus_default(&connection), 0);
    return connection;
}

void callService(sdbusplus::bus_t& bus)
{
    auto call = bus.new_method_call("a.b.Service", "/a/b", "a.b.I", "Do");
    bus.call(call);
}

TEST_F(Bus, CallReachesTheMethodItNames)
{
    auto bus = sdbusplus::bus::new_default();

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
    auto bus = sdbusplus::bus::new_default();
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
    auto bus = sdbusplus::bus::new_default();
    sdbusplus::bus_t moved(std::move(bus));

    callService(moved);

    EXPECT_EQ(service.takeCalls().size(), 1);
}

TEST_F(Bus, TakesOverAConnectionItIsGiven)
{
    sdbusplus::bus_t bus(defaultConnection(), std::false_type());

    callService(bus);

    EXPECT_EQ(service.takeCalls().size(), 1);
}

TEST_F(Bus, CallToAnAbsentServiceThrowsWhatTheBusSays)
{
    auto bus = sdbusplus::bus::new_default();
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
    auto bus = sdbusplus::bus::new_default();

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
    auto bus = sdbusplus::bus::new_default();

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
    auto bus = sdbusplus::bus::new_default();

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

TEST_F(Bus, WithoutTheDaemonNoMethodCallIsMade)
{
    daemon.stop();

    EXPECT_THROW(
        {
            auto bus = sdbusplus::bus::new_default();
            bus.new_method_call("a.b.Service", "/a/b", "a.b.I", "Do");
        },
        SdBusError);
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
