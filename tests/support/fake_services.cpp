// SPDX-License-Identifier: Apache-2.0
#include "fake_services.hpp"

#include "bus_pointers.hpp"
#include "checked.hpp"
#include "descriptor.hpp"
#include "fake_objects.hpp"
#include "message_text.hpp"
#include "private_bus.hpp"

#include <systemd/sd-bus.h>

#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <array>
#include <map>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>

namespace support
{

namespace
{

using Clock = std::chrono::steady_clock;

BusPointer connect()
{
    sd_bus* connection = nullptr;
    checkedSystemd(sd_bus_new(&connection), "sd_bus_new");
    BusPointer bus(connection);
    checkedSystemd(
        sd_bus_set_address(connection, PrivateBus::address().c_str()),
        "sd_bus_set_address");
    checkedSystemd(sd_bus_set_bus_client(connection, 1),
                   "sd_bus_set_bus_client");
    checkedSystemd(sd_bus_start(connection), "sd_bus_start");
    return bus;
}

/** A single string stands as it is; other values have the busctl form. */
PropertyValue fromText(const std::string& signature, const std::string& text)
{
    const bool string =
        signature == "s" || signature == "o" || signature == "g";
    return {signature, string ? quoted(text) : text};
}

} // namespace

/**
 * The connection and its thread. The mutex guards everything, including the
 * connection: the thread releases the mutex only while it waits.
 */
class FakeServices::Service
{
  public:
    explicit Service(const std::vector<std::string>& names);
    ~Service();

    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    void answer(const std::string& path, const std::string& member,
                Answer answer);
    std::vector<RecordedCall> takeCalls();
    void setProperty(const PropertyKey& key, const PropertyValue& value);
    std::optional<PropertyValue> property(const PropertyKey& key);

  private:
    // An exception ends the process: libsystemd's frames do not pass it on.
    // NOLINTNEXTLINE(bugprone-exception-escape)
    static int handleMessage(sd_bus_message* message, void* service,
                             sd_bus_error* error) noexcept;
    void handleCall(sd_bus_message* call);
    MessagePointer draft(const std::string& signature, const std::string& text);
    PropertyValue printed(const PropertyValue& value);

    void serve();
    void process();
    void acceptWhatIsDue();
    int waitMilliseconds() const;

    std::mutex mutex;
    BusPointer bus = connect();
    Descriptor stop{eventfd(0, EFD_CLOEXEC)};
    FakeObjects objects;
    std::multimap<Clock::time_point, MessagePointer> postponed;
    bool connected = true;
    bool stopping = false;
    std::thread thread;
};

FakeServices::Service::Service(const std::vector<std::string>& names)
{
    checked(stop.get(), "eventfd");
    checkedSystemd(sd_bus_add_filter(bus.get(), nullptr, handleMessage, this),
                   "sd_bus_add_filter");
    for (const auto& name : names)
    {
        checkedSystemd(sd_bus_request_name(bus.get(), name.c_str(), 0),
                       "own " + name);
    }
    thread = std::thread(&Service::serve, this);
}

FakeServices::Service::~Service()
{
    {
        const std::lock_guard lock(mutex);
        stopping = true;
    }
    eventfd_write(stop.get(), 1);
    thread.join();
}

void FakeServices::Service::answer(const std::string& path,
                                   const std::string& member, Answer answer)
{
    const std::lock_guard lock(mutex);
    if (answer.kind == Answer::Kind::value)
    {
        draft("v", answer.first + ' ' + answer.second);
    }
    if (answer.kind == Answer::Kind::body)
    {
        draft(answer.first, answer.second);
    }
    objects.addRule(path, member, std::move(answer));
}

std::vector<RecordedCall> FakeServices::Service::takeCalls()
{
    const std::lock_guard lock(mutex);
    return objects.takeCalls();
}

void FakeServices::Service::setProperty(const PropertyKey& key,
                                        const PropertyValue& value)
{
    const std::lock_guard lock(mutex);
    objects.setProperty(key, printed(value));
}

std::optional<PropertyValue>
FakeServices::Service::property(const PropertyKey& key)
{
    const std::lock_guard lock(mutex);
    return objects.property(key);
}

/** A message with this body that is never sent. */
MessagePointer FakeServices::Service::draft(const std::string& signature,
                                            const std::string& text)
{
    sd_bus_message* message = nullptr;
    checkedSystemd(
        sd_bus_message_new(bus.get(), &message, SD_BUS_MESSAGE_METHOD_CALL),
        "sd_bus_message_new");
    MessagePointer draft(message);
    appendText(message, signature, text);
    checkedSystemd(sd_bus_message_seal(message, 1, 0), "sd_bus_message_seal");
    return draft;
}

PropertyValue FakeServices::Service::printed(const PropertyValue& value)
{
    const MessagePointer message =
        draft("v", value.signature + ' ' + value.text);
    return {value.signature,
            bodyText(message.get()).substr(value.signature.size() + 1)};
}

// NOLINTNEXTLINE(bugprone-exception-escape): as where it is declared
int FakeServices::Service::handleMessage(sd_bus_message* message, void* service,
                                         sd_bus_error*) noexcept
{
    const bool call =
        sd_bus_message_is_method_call(message, nullptr, nullptr) > 0;
    const bool peer = sd_bus_message_is_method_call(
                          message, "org.freedesktop.DBus.Peer", nullptr) > 0;
    if (!call || peer)
    {
        return 0;
    }
    static_cast<Service*>(service)->handleCall(message);
    return 1;
}

void FakeServices::Service::handleCall(sd_bus_message* call)
{
    // Recorded before the reply: a caller with a reply finds its call.
    const Answer reply = objects.receive(call);
    switch (reply.kind)
    {
        case Answer::Kind::accept:
            return objects.accept(call);
        case Answer::Kind::error:
            return replyError(call, reply.first, reply.second);
        case Answer::Kind::value:
            return objects.give(call, {reply.first, reply.second});
        case Answer::Kind::body:
            return replyBody(call, reply.first, reply.second);
        case Answer::Kind::late:
            postponed.emplace(Clock::now() + reply.delay,
                              sd_bus_message_ref(call));
            return;
        case Answer::Kind::never:
            return;
        case Answer::Kind::dropName:
            checkedSystemd(sd_bus_release_name(
                               bus.get(), sd_bus_message_get_destination(call)),
                           "sd_bus_release_name");
            return;
        case Answer::Kind::dropConnection:
            connected = false;
            return;
    }
}

void FakeServices::Service::serve()
{
    std::unique_lock lock(mutex);
    while (!stopping)
    {
        process();
        acceptWhatIsDue();
        std::array<pollfd, 2> entries{};
        entries[0] = {stop.get(), POLLIN, 0};
        entries[1] = {connected ? sd_bus_get_fd(bus.get()) : -1,
                      static_cast<short>(sd_bus_get_events(bus.get())), 0};
        const int timeout = waitMilliseconds();
        lock.unlock();
        poll(entries.data(), entries.size(), timeout);
        lock.lock();
    }
}

void FakeServices::Service::process()
{
    while (connected)
    {
        const int progress = sd_bus_process(bus.get(), nullptr);
        if (progress == 0)
        {
            return;
        }
        connected = connected && progress > 0;
    }
    sd_bus_close(bus.get());
    postponed.clear();
}

void FakeServices::Service::acceptWhatIsDue()
{
    const auto due = postponed.upper_bound(Clock::now());
    for (auto entry = postponed.begin(); entry != due; ++entry)
    {
        objects.accept(entry->second.get());
    }
    postponed.erase(postponed.begin(), due);
}

/** How long poll(2) may wait: rounded up, and -1 for ever. */
int FakeServices::Service::waitMilliseconds() const
{
    if (postponed.empty())
    {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(
        postponed.begin()->first - Clock::now());
    return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, 60000));
}

Answer Answer::accept()
{
    return {};
}

Answer Answer::error(std::string name, std::string text)
{
    if (sd_bus_interface_name_is_valid(name.c_str()) <= 0)
    {
        throw std::invalid_argument("not the name of an error: " + name);
    }
    return {Kind::error, std::move(name), std::move(text), {}};
}

Answer Answer::value(const std::string& signature, const std::string& text)
{
    PropertyValue value = fromText(signature, text);
    return {Kind::value, std::move(value.signature), std::move(value.text), {}};
}

Answer Answer::body(std::string signature, std::string text)
{
    return {Kind::body, std::move(signature), std::move(text), {}};
}

Answer Answer::emptyReply()
{
    return body("", "");
}

Answer Answer::late(std::chrono::milliseconds delay)
{
    return {Kind::late, {}, {}, delay};
}

Answer Answer::never()
{
    return {Kind::never, {}, {}, {}};
}

Answer Answer::dropName()
{
    return {Kind::dropName, {}, {}, {}};
}

Answer Answer::dropConnection()
{
    return {Kind::dropConnection, {}, {}, {}};
}

std::vector<std::string> FakeServices::allNames()
{
    return {
        "xyz.openbmc_project.Software.BMC.Updater",
        "xyz.openbmc_project.Firmware.Updater",
        "xyz.openbmc_project.Settings",
        "xyz.openbmc_project.State.Host",
    };
}

FakeServices::FakeServices(const std::vector<std::string>& names) :
    service(std::make_unique<Service>(names))
{
}

FakeServices::~FakeServices() = default;

void FakeServices::answer(const std::string& path, const std::string& member,
                          Answer answer)
{
    service->answer(path, member, std::move(answer));
}

std::vector<RecordedCall> FakeServices::takeCalls()
{
    return service->takeCalls();
}

void FakeServices::setProperty(const std::string& path,
                               const std::string& property,
                               const std::string& signature,
                               const std::string& value)
{
    service->setProperty({path, property}, fromText(signature, value));
}

std::optional<std::string> FakeServices::property(const std::string& path,
                                                  const std::string& property)
{
    const auto value = service->property({path, property});
    return value ? std::optional(value->signature + ' ' + value->text)
                 : std::nullopt;
}

} // namespace support
