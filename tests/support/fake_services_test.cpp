// SPDX-License-Identifier: Apache-2.0
#include "await.hpp"
#include "bus_pointers.hpp"
#include "caller.hpp"
#include "fake_services.hpp"
#include "private_bus.hpp"

#include <gtest/gtest.h>
#include <systemd/sd-bus.h>

#include <chrono>
#include <cstddef>
#include <list>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

using support::Answer;
using support::Caller;
using support::FakeServices;
using support::MessagePointer;
using support::PrivateBus;
using support::RecordedCall;

namespace
{

using namespace std::chrono_literals;

constexpr const char* updater = "xyz.openbmc_project.Software.BMC.Updater";
constexpr const char* object = "/xyz/openbmc_project/software/bios_active";
constexpr const char* properties = "org.freedesktop.DBus.Properties";

class FakeServicesTest : public testing::Test
{
  protected:
    std::string set(const std::string& value, const char* property = "Version",
                    std::chrono::microseconds deadline = 10s)
    {
        return caller.call(updater, object, properties, "Set", "ssv",
                           "a.b.I " + std::string(property) + ' ' + value,
                           deadline);
    }

    std::string get(const char* property = "Version",
                    std::chrono::microseconds deadline = 10s)
    {
        return caller.call(updater, object, properties, "Get", "ss",
                           "a.b.I " + std::string(property), deadline);
    }

    std::string deleteObject(const char* destination = updater)
    {
        return caller.call(destination, object,
                           "xyz.openbmc_project.Object.Delete", "Delete");
    }

    /** The asynchronous calls that got a reply, in the order of the replies. */
    std::vector<std::string> replies;

    /** Sends a Get; its property joins the replies once it is answered. */
    void sendGet(const char* property)
    {
        const MessagePointer message =
            support::makeCall(caller.get(), updater, object, properties, "Get",
                              "ss", "a.b.I " + std::string(property));
        sent.push_back({property, &replies});
        ASSERT_GE(sd_bus_call_async(caller.get(), nullptr, message.get(),
                                    noteReply, &sent.back(), 10'000'000),
                  0);
    }

    /** Waits until that many replies came. */
    void awaitReplies(std::size_t count)
    {
        ASSERT_TRUE(support::await([&] {
            sd_bus_process(caller.get(), nullptr);
            return replies.size() >= count;
        }));
    }

    PrivateBus privateBus;
    FakeServices services;
    Caller caller;

  private:
    struct SentCall
    {
        std::string property;
        std::vector<std::string>* replies;
    };

    static int noteReply(sd_bus_message*, void* call, sd_bus_error*)
    {
        const auto* sentCall = static_cast<SentCall*>(call);
        sentCall->replies->push_back(sentCall->property);
        return 1;
    }

    std::list<SentCall> sent;
};

TEST_F(FakeServicesTest, OwnsTheFourServices)
{
    for (const char* name :
         {"xyz.openbmc_project.Software.BMC.Updater",
          "xyz.openbmc_project.Firmware.Updater",
          "xyz.openbmc_project.Settings", "xyz.openbmc_project.State.Host"})
    {
        EXPECT_EQ(deleteObject(name), "") << name;
    }
    EXPECT_EQ(services.takeCalls().size(), 4U);
}

TEST_F(FakeServicesTest, OwnsOnlyTheNamesItIsGiven)
{
    const FakeServices other({"a.b.C"});

    EXPECT_EQ(deleteObject("a.b.C"), "");
    EXPECT_EQ(services.takeCalls(), std::vector<RecordedCall>());
}

TEST_F(FakeServicesTest, ThrowsForANameThatIsTaken)
{
    EXPECT_THROW(FakeServices(), std::system_error);
}

TEST_F(FakeServicesTest, ThrowsWithoutABus)
{
    privateBus.stop();

    EXPECT_THROW(FakeServices({"a.b.C"}), std::system_error);
}

TEST_F(FakeServicesTest, StoresWhatIsSet)
{
    EXPECT_EQ(set("s \"1.2 \\\"3\\\"\""), "");

    EXPECT_EQ(get(), "s \"1.2 \\\"3\\\"\"");
    EXPECT_EQ(services.property(object, "Version"), "s \"1.2 \\\"3\\\"\"");
    EXPECT_EQ(services.property(object, "Other"), std::nullopt);
    EXPECT_EQ(services.property("/other", "Version"), std::nullopt);
}

TEST_F(FakeServicesTest, StoresTheTypeWithTheValue)
{
    EXPECT_EQ(set("y 100", "Progress"), "");
    EXPECT_EQ(set("b true", "Masked"), "");
    EXPECT_EQ(set("as 0", "Options"), "");

    EXPECT_EQ(get("Progress"), "y 100");
    EXPECT_EQ(get("Masked"), "b true");
    EXPECT_EQ(services.property(object, "Options"), "as 0");
}

TEST_F(FakeServicesTest, HasNoPropertyThatWasNotSet)
{
    EXPECT_EQ(get(), "org.freedesktop.DBus.Error.UnknownProperty: "
                     "Unknown property Version");
}

TEST_F(FakeServicesTest, ShowsWhatItsOwnSideSets)
{
    services.setProperty(object, "Version", "s", "two \"words\"");
    services.setProperty(object, "Options", "as", "2 a \"b c\"");

    EXPECT_EQ(get("Version"), "s \"two \\\"words\\\"\"");
    EXPECT_EQ(get("Options"), "as 2 \"a\" \"b c\"");
    EXPECT_EQ(services.property(object, "Options"), "as 2 \"a\" \"b c\"");
    EXPECT_THROW(services.setProperty(object, "Version", "i", "text"),
                 std::invalid_argument);
    EXPECT_THROW(services.setProperty(object, "Version", "ss", "a b"),
                 std::invalid_argument);
}

TEST_F(FakeServicesTest, RecordsTheWholeCall)
{
    ASSERT_EQ(set("b true"), "");
    ASSERT_EQ(deleteObject("xyz.openbmc_project.Settings"), "");

    EXPECT_EQ(services.takeCalls(),
              (std::vector<RecordedCall>{
                  {.destination = updater,
                   .path = object,
                   .interface = "org.freedesktop.DBus.Properties",
                   .member = "Set",
                   .signature = "ssv",
                   .arguments = "\"a.b.I\" \"Version\" b true",
                   .replyExpected = true,
                   .autoStart = true},
                  {.destination = "xyz.openbmc_project.Settings",
                   .path = object,
                   .interface = "xyz.openbmc_project.Object.Delete",
                   .member = "Delete",
                   .signature = "",
                   .arguments = "",
                   .replyExpected = true,
                   .autoStart = true}}));
    EXPECT_EQ(services.takeCalls(), std::vector<RecordedCall>());
}

TEST_F(FakeServicesTest, RecordsTheFlagsOfACall)
{
    const MessagePointer message =
        support::makeCall(caller.get(), updater, object, "a.b.I", "M", "", "");
    ASSERT_GE(sd_bus_message_set_expect_reply(message.get(), 0), 0);
    ASSERT_GE(sd_bus_message_set_auto_start(message.get(), 0), 0);
    ASSERT_GE(sd_bus_send(caller.get(), message.get(), nullptr), 0);
    ASSERT_EQ(deleteObject(), "");

    const auto calls = services.takeCalls();

    ASSERT_EQ(calls.size(), 2U);
    EXPECT_EQ(calls[0].member, "M");
    EXPECT_FALSE(calls[0].replyExpected);
    EXPECT_FALSE(calls[0].autoStart);
    EXPECT_TRUE(calls[1].replyExpected);
    EXPECT_TRUE(calls[1].autoStart);
}

TEST_F(FakeServicesTest, LeavesPingToTheBusLibrary)
{
    services.answer(object, "Ping", Answer::never());

    EXPECT_EQ(caller.call(updater, object, "org.freedesktop.DBus.Peer", "Ping"),
              "");
    EXPECT_EQ(services.takeCalls(), std::vector<RecordedCall>());
}

TEST_F(FakeServicesTest, AnswersWithAnError)
{
    services.setProperty(object, "Version", "s", "old");
    services.answer(object, "Version", Answer::error("a.b.Error", "not now"));
    services.answer(object, "Delete", Answer::error("a.b.Other", ""));

    EXPECT_EQ(set("s new"), "a.b.Error: not now");
    EXPECT_EQ(get(), "a.b.Error: not now");
    EXPECT_EQ(deleteObject(), "a.b.Other: ");
    EXPECT_EQ(services.property(object, "Version"), "s \"old\"");
    EXPECT_THROW(Answer::error("error", ""), std::invalid_argument);
}

TEST_F(FakeServicesTest, AnswersAGetWithAValue)
{
    services.answer(object, "Version", Answer::value("i", "7"));
    EXPECT_EQ(get(), "i 7");

    services.answer(object, "Version", Answer::value("as", "2 a b"));
    EXPECT_EQ(get(), "as 2 \"a\" \"b\"");

    services.answer(object, "Version", Answer::value("s", "a text"));
    EXPECT_EQ(get(), "s \"a text\"");

    EXPECT_EQ(set("s new"), "");
    EXPECT_EQ(services.property(object, "Version"), "s \"new\"");
    EXPECT_EQ(get(), "s \"a text\"");
    EXPECT_THROW(services.answer(object, "Version", Answer::value("i", "x")),
                 std::invalid_argument);
}

TEST_F(FakeServicesTest, AnswersWithoutABody)
{
    services.answer(object, "Version", Answer::emptyReply());

    EXPECT_EQ(set("s new"), "");
    EXPECT_EQ(get(), "");
    EXPECT_EQ(services.property(object, "Version"), std::nullopt);
}

TEST_F(FakeServicesTest, AnswersWithAnyBody)
{
    services.answer(object, "Version", Answer::body("si", "\"a b\" 7"));

    EXPECT_EQ(get(), "\"a b\" 7");
    EXPECT_EQ(set("s new"), "\"a b\" 7");
    EXPECT_EQ(services.property(object, "Version"), std::nullopt);
    EXPECT_THROW(services.answer(object, "Version", Answer::body("i", "x")),
                 std::invalid_argument);
}

TEST_F(FakeServicesTest, AnswersLateWithoutHoldingOthersUp)
{
    services.setProperty(object, "Late", "s", "a");
    services.setProperty(object, "Prompt", "s", "b");
    services.answer(object, "Late", Answer::late(200ms));
    const auto begin = std::chrono::steady_clock::now();

    sendGet("Late");
    sendGet("Prompt");
    awaitReplies(2);

    EXPECT_EQ(replies, (std::vector<std::string>{"Prompt", "Late"}));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 200ms);
}

TEST_F(FakeServicesTest, AcceptsALateCallInTheEnd)
{
    services.answer(object, "Version", Answer::late(20ms));

    EXPECT_EQ(set("s new"), "");
    EXPECT_EQ(services.property(object, "Version"), "s \"new\"");
    EXPECT_EQ(get(), "s \"new\"");
}

TEST_F(FakeServicesTest, KeepsSilentAndAnswersTheNextCall)
{
    services.answer(object, "Version", Answer::never());

    EXPECT_EQ(set("s new", "Version", 50ms),
              "org.freedesktop.DBus.Error.Timeout: Connection timed out");
    EXPECT_EQ(services.property(object, "Version"), std::nullopt);

    EXPECT_EQ(set("s next", "Other"), "");
    EXPECT_EQ(get("Other"), "s \"next\"");
    EXPECT_EQ(services.takeCalls().size(), 3U);
}

TEST_F(FakeServicesTest, GivesUpTheAddressedName)
{
    services.answer(object, "Version", Answer::dropName());

    EXPECT_EQ(set("s new", "Version", 50ms),
              "org.freedesktop.DBus.Error.Timeout: Connection timed out");

    EXPECT_EQ(deleteObject(),
              std::string("org.freedesktop.DBus.Error.ServiceUnknown: The "
                          "name ") +
                  updater + " was not provided by any .service files");
    EXPECT_EQ(deleteObject("xyz.openbmc_project.Settings"), "");
}

TEST_F(FakeServicesTest, ClosesItsConnection)
{
    services.answer(object, "Version", Answer::dropConnection());

    EXPECT_EQ(set("s new"),
              "org.freedesktop.DBus.Error.NoReply: Message recipient "
              "disconnected from message bus without replying");
    EXPECT_EQ(deleteObject("xyz.openbmc_project.Settings"),
              "org.freedesktop.DBus.Error.ServiceUnknown: The name "
              "xyz.openbmc_project.Settings was not provided by any .service "
              "files");
    EXPECT_EQ(services.takeCalls().size(), 1U);
}

TEST_F(FakeServicesTest, SendsEarlierRepliesBeforeItCloses)
{
    services.answer(object, "Bad", Answer::dropConnection());

    sendGet("Good");
    sendGet("Bad");
    awaitReplies(2);

    EXPECT_EQ(replies, (std::vector<std::string>{"Good", "Bad"}));
}

TEST_F(FakeServicesTest, FollowsTheLatestRuleThatMatches)
{
    services.setProperty(object, "Version", "s", "stored");
    services.answer(object, "Version", Answer::error("a.b.First", "1"));
    services.answer(object, "", Answer::error("a.b.All", "2"));
    EXPECT_EQ(get(), "a.b.All: 2");
    EXPECT_EQ(deleteObject(), "a.b.All: 2");

    services.answer(object, "Version", Answer::accept());
    services.answer("/other", "", Answer::error("a.b.Other", "3"));
    EXPECT_EQ(get(), "s \"stored\"");
    EXPECT_EQ(deleteObject(), "a.b.All: 2");
}

TEST_F(FakeServicesTest, NamesAPropertyByItsOwnNameOnly)
{
    services.answer(object, "Get", Answer::error("a.b.Get", ""));
    services.setProperty(object, "Version", "s", "stored");

    EXPECT_EQ(get(), "s \"stored\"");
}

TEST_F(FakeServicesTest, EndsAfterTheBusEnded)
{
    privateBus.stop();
    EXPECT_EQ(services.property(object, "Version"), std::nullopt);
    services.setProperty(object, "Version", "s", "kept");
    EXPECT_EQ(services.property(object, "Version"), "s \"kept\"");

    privateBus.start();
    const FakeServices again;
    Caller other;
    EXPECT_EQ(other.call(updater, object, "a.b.I", "M"), "");
    EXPECT_EQ(services.takeCalls(), std::vector<RecordedCall>());
}

} // namespace
