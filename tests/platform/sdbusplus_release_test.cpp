// SPDX-License-Identifier: Apache-2.0
#include "private_service.hpp"

#include <gtest/gtest.h>
#include <sdbusplus/bus.hpp>
#include <sdbusplus/exception.hpp>
#include <sdbusplus/message.hpp>
#include <sdbusplus/sdbus.hpp>
#include <systemd/sd-bus.h>

#include <dlfcn.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace
{

using Messages = std::vector<sd_bus_message*>;

// Of the testing thread alone: the service holds messages in its own.
thread_local Messages handedOut;
thread_local Messages released;

using Call = sd_bus_message* (*)(sd_bus_message*);

/** Passes a call on to libsystemd. What libsystemd itself calls by its name
 *  does not count. */
sd_bus_message* passOn(const char* name, sd_bus_message* message,
                       const void* caller, Messages& counted)
{
    void* const real = dlsym(RTLD_NEXT, name);
    Dl_info libsystemd{};
    Dl_info calling{};
    dladdr(real, &libsystemd);
    dladdr(caller, &calling);
    if (message != nullptr && calling.dli_fbase != libsystemd.dli_fbase)
    {
        counted.push_back(message);
    }
    return reinterpret_cast<Call>(real)(message);
}

} // namespace

// These two take the place of libsystemd's for this program.

extern "C" sd_bus_message* sd_bus_message_ref(sd_bus_message* message)
{
    return passOn("sd_bus_message_ref", message, __builtin_return_address(0),
                  handedOut);
}

extern "C" sd_bus_message* sd_bus_message_unref(sd_bus_message* message)
{
    return passOn("sd_bus_message_unref", message, __builtin_return_address(0),
                  released);
}

namespace
{

/** Notes every message that it hands out. */
class Recorder : public sdbusplus::SdBusImpl
{
  public:
    int sd_bus_message_new_method_call(sd_bus* bus, sd_bus_message** message,
                                       const char* destination,
                                       const char* path, const char* interface,
                                       const char* member) override
    {
        const int result = SdBusImpl::sd_bus_message_new_method_call(
            bus, message, destination, path, interface, member);
        note(result, *message);
        return result;
    }

    int sd_bus_call(sd_bus* bus, sd_bus_message* message,
                    uint64_t timeoutMicroseconds, sd_bus_error* error,
                    sd_bus_message** reply) override
    {
        const int result = SdBusImpl::sd_bus_call(
            bus, message, timeoutMicroseconds, error, reply);
        note(result, *reply);
        return result;
    }

  private:
    static void note(int result, sd_bus_message* message)
    {
        if (result >= 0)
        {
            handedOut.push_back(message);
        }
    }
};

class Release : public platform::PrivateService
{
  protected:
    Release()
    {
        handedOut.clear();
        released.clear();
    }

    /** A failure leaves by its exception. */
    void callAndRead(const char* destination, const char* path,
                     const char* interface, const char* member)
    {
        auto bus = connectThrough(recorder);
        auto call = bus.new_method_call(destination, path, interface, member);
        auto reply = bus.call(call);
        std::variant<std::string> value;
        reply.read(value);
    }

    void expectEachReleasedOnce(std::size_t count)
    {
        EXPECT_EQ(handedOut.size(), count);
        std::ranges::sort(handedOut);
        std::ranges::sort(released);
        EXPECT_EQ(released, handedOut);
    }

    Recorder recorder;
};

TEST_F(Release, CallAndReplyAreReleasedOnce)
{
    callAndRead("a.b.Service", "/a/b", "a.b.I", "Do");

    expectEachReleasedOnce(2);
}

TEST_F(Release, CallIsReleasedOnceWhenItFails)
{
    EXPECT_THROW(callAndRead("a.b.Absent", "/a/b", "a.b.I", "Do"),
                 sdbusplus::exception::SdBusError);

    expectEachReleasedOnce(1);
}

TEST_F(Release, CallAndReplyAreReleasedOnceWhenTheReadFails)
{
    // Its reply is a string, not a variant.
    EXPECT_THROW(callAndRead("org.freedesktop.DBus", "/org/freedesktop/DBus",
                             "org.freedesktop.DBus", "GetId"),
                 sdbusplus::exception::SdBusError);

    expectEachReleasedOnce(2);
}

TEST_F(Release, ReplyThatNobodyTakesIsReleased)
{
    {
        auto bus = connectThrough(recorder);
        auto call = bus.new_method_call("a.b.Service", "/a/b", "a.b.I", "Do");
        bus.call(call);
        EXPECT_EQ(released.size(), 1);
    }

    expectEachReleasedOnce(2);
}

TEST_F(Release, CopiesAndMovesReleaseTheirReferenceOnce)
{
    {
        auto bus = connectThrough(recorder);
        auto first = bus.new_method_call("a.b.Service", "/a/b", "a.b.I", "Do");
        auto second = bus.new_method_call("a.b.Service", "/a/b", "a.b.I", "Do");
        sdbusplus::message_t copy(first);
        sdbusplus::message_t moved(std::move(first));
        second = copy;
        second = std::move(moved);
    }

    expectEachReleasedOnce(4);
}

} // namespace
