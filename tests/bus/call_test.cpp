// SPDX-License-Identifier: Apache-2.0
#include "../../src/bus/call.hpp"
#include "support/library_test.hpp"
#include "support/thrown.hpp"

#include <systemd/sd-bus.h>

#include <chrono>

namespace
{

using namespace fenmarch;
using sdbusplus::exception::SdBusError;
using support::Answer;
using support::getCall;
using support::Property;
using support::RecordedCall;
using support::setCall;
using support::thrownText;

constexpr auto path = "/xyz/openbmc_project/software/image";

const Property property{"xyz.openbmc_project.Settings", path, "a.b.Interface",
                        "Property"};

class Call : public support::BusTest
{
  public:
    static sdbusplus::bus_t connect()
    {
        sd_bus* connection = nullptr;
        EXPECT_GE(sd_bus_default(&connection), 0);
        return {connection, std::false_type()};
    }

    static DbusInterface target(const std::string& objectPath = path)
    {
        return {"xyz.openbmc_project.Settings", objectPath, "a.b.Interface"};
    }

    /** Receives the failure of a call and keeps its text. */
    auto report()
    {
        return [this](const sdbusplus::exception::exception& error) {
            reported.emplace_back(error.what());
        };
    }

    template <typename Value>
    int set(const Value& value)
    {
        return setDbusProperty(bus, target(), "Property", value, report());
    }

    int get(std::string& value)
    {
        return getDbusProperty(bus, target(), "Property", value, report());
    }

    int call()
    {
        return callDbusMethod(bus, target(), "Method", report());
    }

    sdbusplus::bus_t bus = connect();
    std::vector<std::string> reported;
};

TEST_F(Call, SetSendsAValueOfEachType)
{
    EXPECT_EQ(set(uint8_t{250}), 0);
    EXPECT_EQ(set(std::string("text")), 0);
    EXPECT_EQ(set(true), 0);
    EXPECT_EQ(set(false), 0);
    EXPECT_EQ(set(std::vector<std::string>{"b", "", "a"}), 0);
    EXPECT_EQ(set(std::vector<std::string>{}), 0);
    EXPECT_EQ(services.takeCalls(),
              (std::vector{
                  setCall(property, "y 250"), setCall(property, "s \"text\""),
                  setCall(property, "b true"), setCall(property, "b false"),
                  setCall(property, "as 3 \"b\" \"\" \"a\""),
                  setCall(property, "as 0")}));
    EXPECT_TRUE(reported.empty());
}

TEST_F(Call, GetReadsAString)
{
    services.setProperty(path, "Property", "s", "held");
    std::string value = "before";
    EXPECT_EQ(get(value), 0);
    EXPECT_EQ(value, "held");
    EXPECT_EQ(services.takeCalls(), std::vector{getCall(property)});
    EXPECT_TRUE(reported.empty());
}

TEST_F(Call, GetAsksTheBusEachTime)
{
    std::string value;
    for (const std::string held : {"first", "second"})
    {
        services.setProperty(path, "Property", "s", held);
        EXPECT_EQ(get(value), 0);
        EXPECT_EQ(value, held);
    }
    EXPECT_EQ(services.takeCalls().size(), 2U);
}

TEST_F(Call, GetOfAnotherTypeReadsAsEmpty)
{
    for (const auto& [signature, text] : {std::pair{"i", "7"},
                                          {"b", "true"},
                                          {"as", "2 a b"},
                                          {"y", "1"},
                                          {"(ss)", "a b"},
                                          {"v", "s held"},
                                          {"o", "/a"}})
    {
        services.answer(path, "Property", Answer::value(signature, text));
        std::string value = "before";
        EXPECT_EQ(get(value), 0) << signature;
        EXPECT_EQ(value, "") << signature;
    }
    EXPECT_TRUE(reported.empty());
}

TEST_F(Call, GetThatIsRefusedLeavesTheValue)
{
    services.answer(path, "Property", Answer::error("a.b.Error", "no"));
    std::string value = "before";
    EXPECT_EQ(get(value), -1);
    EXPECT_EQ(value, "before");
    EXPECT_EQ(reported, std::vector<std::string>{"sd_bus_call: a.b.Error: no"});
}

TEST_F(Call, GetOfNothingReadsAsEmpty)
{
    services.answer(path, "Property", Answer::emptyReply());
    std::string value = "before";
    EXPECT_EQ(get(value), 0);
    EXPECT_EQ(value, "");
}

TEST_F(Call, GetWhoseReplyCannotBeReadLeavesTheValue)
{
    services.answer(path, "Property", Answer::body("s", "\"no variant\""));
    std::string value = "before";
    EXPECT_EQ(get(value), -1);
    EXPECT_EQ(value, "before");
    ASSERT_EQ(reported.size(), 1U);
    EXPECT_TRUE(reported[0].starts_with("sd_bus_message_skip variant: "))
        << reported[0];
}

TEST_F(Call, GetReadsTheVariantAloneOfALongerReply)
{
    services.answer(path, "Property", Answer::body("vsv", "s held more i 7"));
    std::string value = "before";
    EXPECT_EQ(get(value), 0);
    EXPECT_EQ(value, "held");
}

TEST_F(Call, MessageThatTheBusHasNoRoomForEndsTheConnection)
{
    constexpr size_t mebibyte = 1024 * 1024;
    EXPECT_EQ(set(std::string(40 * mebibyte, 'x')), -1);
    EXPECT_EQ(set(true), -1);
    ASSERT_EQ(reported.size(), 2U);
    EXPECT_TRUE(reported[1].starts_with("sd_bus_call: System.Error.ENOTCONN: "))
        << reported[1];
}

TEST_F(Call, MethodHasNoArgumentsAndItsReplyIsDiscarded)
{
    services.answer(path, "Method", Answer::value("s", "ignored"));
    EXPECT_EQ(call(), 0);
    EXPECT_EQ(
        services.takeCalls(),
        (std::vector{RecordedCall{.destination = "xyz.openbmc_project.Settings",
                                  .path = "/xyz/openbmc_project/software/image",
                                  .interface = "a.b.Interface",
                                  .member = "Method",
                                  .signature = "",
                                  .arguments = "",
                                  .replyExpected = true,
                                  .autoStart = true}}));
}

TEST_F(Call, FailureOfTheExchangeIsReportedOnce)
{
    services.answer(path, "", Answer::error("a.b.Error", "no"));
    EXPECT_EQ(set(true), -1);
    EXPECT_EQ(call(), -1);
    EXPECT_EQ(reported,
              (std::vector<std::string>{"sd_bus_call: a.b.Error: no",
                                        "sd_bus_call: a.b.Error: no"}));
}

TEST_F(Call, InvalidPathLeavesAsAnException)
{
    std::string value = "before";
    const auto expectThrow = [](auto primitive) {
        const auto text = thrownText<SdBusError>(primitive);
        EXPECT_TRUE(text.starts_with("sd_bus_message_new_method_call: "))
            << text;
    };
    const auto broken = target("no path");
    expectThrow(
        [&] { setDbusProperty(bus, broken, "Property", true, report()); });
    expectThrow(
        [&] { getDbusProperty(bus, broken, "Property", value, report()); });
    expectThrow([&] { callDbusMethod(bus, broken, "Method", report()); });
    EXPECT_EQ(value, "before");
    EXPECT_TRUE(reported.empty());
    EXPECT_TRUE(services.takeCalls().empty());
}

TEST_F(Call, ValueThatCannotBeAppendedIsAFailureOfTheExchange)
{
    EXPECT_EQ(set(std::string("\xff")), -1);
    ASSERT_EQ(reported.size(), 1U);
    EXPECT_TRUE(reported[0].starts_with("sd_bus_call: ")) << reported[0];
    EXPECT_TRUE(services.takeCalls().empty());
    EXPECT_EQ(set(true), 0);
}

TEST_F(Call, ElementThatCannotBeAppendedIsLeftOut)
{
    EXPECT_EQ(set(std::vector<std::string>{"a", "\xff", "b"}), 0);
    EXPECT_EQ(services.takeCalls(),
              std::vector{setCall(property, "as 2 \"a\" \"b\"")});
}

TEST_F(Call, SilentPeerTimesOut)
{
    constexpr uint64_t timeoutMicroseconds = 50'000;
    sd_bus* connection = nullptr;
    ASSERT_GE(sd_bus_default(&connection), 0);
    sd_bus_set_method_call_timeout(connection, timeoutMicroseconds);
    sd_bus_unref(connection);
    services.answer(path, "", Answer::never());
    std::string value = "before";
    EXPECT_EQ(get(value), -1);
    EXPECT_EQ(call(), -1);
    EXPECT_EQ(value, "before");
    ASSERT_EQ(reported.size(), 2U);
    EXPECT_TRUE(reported[0].starts_with("sd_bus_call: ")) << reported[0];
}

TEST_F(Call, LateAnswerIsWaitedFor)
{
    services.answer(path, "", Answer::late(std::chrono::milliseconds(30)));
    EXPECT_EQ(set(true), 0);
    EXPECT_EQ(services.property(path, "Property"), "b true");
}

TEST_F(Call, PeerThatGoesAwayIsReported)
{
    services.answer(path, "", Answer::dropConnection());
    EXPECT_EQ(set(true), -1);
    EXPECT_EQ(set(true), -1);
    ASSERT_EQ(reported.size(), 2U);
    EXPECT_TRUE(reported[0].starts_with(
        "sd_bus_call: org.freedesktop.DBus.Error.NoReply: "))
        << reported[0];
    EXPECT_TRUE(reported[1].starts_with(
        "sd_bus_call: org.freedesktop.DBus.Error.ServiceUnknown: "))
        << reported[1];
}

} // namespace
