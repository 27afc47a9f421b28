// SPDX-License-Identifier: Apache-2.0
#include "private_service.hpp"
#include "support/thrown.hpp"

#include <gtest/gtest.h>
#include <sdbusplus/bus.hpp>
#include <sdbusplus/exception.hpp>
#include <sdbusplus/message.hpp>
#include <sdbusplus/sdbus.hpp>
#include <systemd/sd-bus.h>

#include <cerrno>
#include <memory>
#include <string>
#include <utility>
#include <variant>

using sdbusplus::exception::SdBusError;
using support::Answer;

namespace
{

/** Lets one chosen step fail. */
class FailingStep : public sdbusplus::SdBusImpl
{
  public:
    int sd_bus_message_verify_type(sd_bus_message* message, char type,
                                   const char* contents) override
    {
        return step == "verify_type" ? -EBUSY
                                     : SdBusImpl::sd_bus_message_verify_type(
                                           message, type, contents);
    }

    int sd_bus_message_enter_container(sd_bus_message* message, char type,
                                       const char* contents) override
    {
        return step == "enter_container"
                   ? -EBUSY
                   : SdBusImpl::sd_bus_message_enter_container(message, type,
                                                               contents);
    }

    int sd_bus_message_read_basic(sd_bus_message* message, char type,
                                  void* value) override
    {
        return step == "read_basic"
                   ? -EBUSY
                   : SdBusImpl::sd_bus_message_read_basic(message, type, value);
    }

    int sd_bus_message_exit_container(sd_bus_message* message) override
    {
        return step == "exit_container"
                   ? -EBUSY
                   : SdBusImpl::sd_bus_message_exit_container(message);
    }

    std::string step;
};

class Read : public platform::PrivateService
{
  protected:
    Read()
    {
        service.setProperty("/a/b", "Version", "s", "1.07");
    }

    sdbusplus::message_t get(const char* property)
    {
        auto call = bus.new_method_call(
            "a.b.Service", "/a/b", "org.freedesktop.DBus.Properties", "Get");
        call.append("a.b.I", property);
        return bus.call(call);
    }

    /** The text of what a read throws. */
    std::string failure(sdbusplus::message_t reply)
    {
        return support::thrownText<SdBusError>([&] {
            std::variant<std::string> value;
            reply.read(value);
        });
    }

    std::string failureOf(const std::string& step)
    {
        interface.step = step;
        return failure(get("Version"));
    }

    FailingStep interface;
    sdbusplus::bus_t bus = connectThrough(interface);
};

TEST_F(Read, VariantOfAStringIsTheString)
{
    auto reply = get("Version");
    std::variant<std::string> value("before");

    reply.read(value);

    EXPECT_EQ(std::get<std::string>(value), "1.07");
}

TEST_F(Read, VariantOfAnotherTypeIsTheDefault)
{
    for (const auto& [signature, text] :
         {std::pair("i", "7"), std::pair("as", "2 a b"), std::pair("b", "true"),
          std::pair("v", "s text")})
    {
        service.setProperty("/a/b", "Other", signature, text);
        auto reply = get("Other");
        std::variant<std::string> value("before");

        reply.read(value);

        EXPECT_EQ(std::get<std::string>(value), "") << signature;
    }
}

TEST_F(Read, CopiedMessageCanBeReadAfterItsSourceIsGone)
{
    auto source = std::make_unique<sdbusplus::message_t>(get("Version"));
    sdbusplus::message_t copy(*source);
    source.reset();
    std::variant<std::string> value;

    copy.read(value);

    EXPECT_EQ(std::get<std::string>(value), "1.07");
}

TEST_F(Read, EmptyReplyIsTheDefault)
{
    service.answer("/a/b", "Version", Answer::emptyReply());
    auto reply = get("Version");
    std::variant<std::string> value("before");

    reply.read(value);

    EXPECT_EQ(std::get<std::string>(value), "");
}

TEST_F(Read, ReplyWithoutAVariantFailsInTheSkip)
{
    auto call =
        bus.new_method_call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                            "org.freedesktop.DBus", "GetId");

    EXPECT_EQ(failure(bus.call(call)),
              "sd_bus_message_skip variant: System.Error.ENXIO: No such device "
              "or address");
}

TEST_F(Read, FailureIsLabelledWithItsStep)
{
    EXPECT_EQ(failureOf("verify_type"),
              "sd_bus_message_verify_type variant: System.Error.EBUSY: "
              "Device or resource busy");
    EXPECT_EQ(failureOf("enter_container"),
              "sd_bus_message_enter_container variant: System.Error.EBUSY: "
              "Device or resource busy");
    EXPECT_EQ(failureOf("read_basic"),
              "sd_bus_message_read_basic string: System.Error.EBUSY: "
              "Device or resource busy");
    EXPECT_EQ(failureOf("exit_container"),
              "sd_bus_message_exit_container variant: System.Error.EBUSY: "
              "Device or resource busy");
}

} // namespace
