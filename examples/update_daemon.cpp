// SPDX-License-Identifier: Apache-2.0

/**
 * A firmware-update daemon to start from; docs/writing-a-service.md gives the
 * reasons. For each NAME=OBJECT on its command line it serves
 * /com/example/firmware_update/NAME, and publishes on OBJECT, a software
 * object of the BMC's updater.
 */
#include "libsystemd.hpp"
#include "update.hpp"

#include <systemd/sd-event.h>

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace
{

using phosphor::software::updater::FwManager;

constexpr auto service = "com.example.FirmwareUpdate";

/** The running update. Only one at a time, because masks are not counted. */
using Current = std::optional<Update>;

class Firmware
{
  public:
    Firmware(const std::string& name, std::string published, Current& current) :
        manager(name), object(std::move(published)), update(current)
    {
        prepare(manager);
    }

    int check(sd_bus_message* request)
    {
        const bool whole = checkImage(manager, directoryOf(request));
        return sd_bus_reply_method_return(request, "b", whole ? 1 : 0);
    }

    /** Starts it; the request is answered when it is over. */
    int begin(sd_bus_message* request)
    {
        require(!update, "another update is under way");
        update.emplace(manager, object, directoryOf(request));
        call.reset(sd_bus_message_ref(request));
        auto* const loop = sd_bus_get_event(sd_bus_message_get_bus(request));
        sd_event_source* source = nullptr;
        checked(sd_event_add_defer(loop, &source, step, this));
        steps.reset(source);
        // Below signals and requests, which otherwise would never be handled.
        checked(sd_event_source_set_priority(source, SD_EVENT_PRIORITY_IDLE));
        return checked(sd_event_source_set_enabled(source, SD_EVENT_ON)) + 1;
    }

    int verify(sd_bus_message* request)
    {
        verifyBackup(manager, object);
        return sd_bus_reply_method_return(request, "");
    }

    std::string state()
    {
        return manager.readUpdateState();
    }

    std::string verifying()
    {
        return Slots(manager).verifying;
    }

    std::string verified()
    {
        return Slots(manager).verified;
    }

    FwManager manager;

  private:
    static std::string directoryOf(sd_bus_message* request)
    {
        const char* directory = nullptr;
        checked(sd_bus_message_read(request, "s", &directory));
        return directory;
    }

    // An exception of end() ends the process; the next process recovers.
    // NOLINTNEXTLINE(bugprone-exception-escape)
    static int step(sd_event_source*, void* firmware) noexcept
    {
        auto& self = *static_cast<Firmware*>(firmware);
        try
        {
            if (self.update.value().step())
            {
                self.end();
                sd_bus_reply_method_return(self.call.get(), "");
            }
        }
        catch (const std::exception& problem)
        {
            self.end();
            sd_bus_reply_method_errorf(self.call.get(), failed, "%s",
                                       problem.what());
        }
        return 0;
    }

    void end()
    {
        update.reset();
        if (PowerMask::isLeft(manager)) // then the next start tries again
        {
            sd_event_exit(sd_event_source_get_event(steps.get()), EXIT_FAILURE);
        }
        steps.reset();
    }

    std::string object;
    Current& update;
    Owned<sd_event_source, sd_event_source_disable_unref> steps;
    Owned<sd_bus_message, sd_bus_message_unref> call;
};

const sd_bus_vtable interface[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("Check", "s", "b", (method<Firmware, &Firmware::check>), 0),
    SD_BUS_METHOD("Update", "s", "", (method<Firmware, &Firmware::begin>), 0),
    SD_BUS_METHOD("Verify", "", "", (method<Firmware, &Firmware::verify>), 0),
    SD_BUS_PROPERTY("State", "s", (property<Firmware, &Firmware::state>), 0, 0),
    SD_BUS_PROPERTY("Verifying", "s",
                    (property<Firmware, &Firmware::verifying>), 0, 0),
    SD_BUS_PROPERTY("Verified", "s", (property<Firmware, &Firmware::verified>),
                    0, 0),
    SD_BUS_VTABLE_END,
};

int serve(const std::vector<std::string>& arguments)
{
    sd_event* event = nullptr;
    checked(sd_event_new(&event));
    const Owned<sd_event, sd_event_unref> loop(event);
    checked(sd_event_add_signal(event, nullptr, SIGTERM, nullptr, nullptr));
    checked(sd_event_add_signal(event, nullptr, SIGINT, nullptr, nullptr));

    // All managers live as long as the daemon: the first manager that is
    // destroyed closes the connection of all.
    std::list<Firmware> firmwares;
    Current update;
    for (const auto& argument : arguments)
    {
        const auto end = argument.find('=');
        require(end != std::string::npos, "usage: update-daemon NAME=OBJECT");
        firmwares.emplace_back(argument.substr(0, end),
                               argument.substr(end + 1), update);
    }

    // A separate connection, which no manager closes. The name is requested
    // last: when it appears on the bus, the daemon is ready.
    sd_bus* connection = nullptr;
    checked(sd_bus_open(&connection));
    const Owned<sd_bus, sd_bus_flush_close_unref> bus(connection);
    checked(sd_bus_set_exit_on_disconnect(connection, 1));
    checked(sd_bus_attach_event(connection, event, SD_EVENT_PRIORITY_NORMAL));
    for (auto& firmware : firmwares)
    {
        const auto path =
            "/com/example/firmware_update/" + firmware.manager.name;
        checked(sd_bus_add_object_vtable(connection, nullptr, path.c_str(),
                                         service, interface, &firmware));
    }
    checked(sd_bus_request_name(connection, service, 0));
    return sd_event_loop(event);
}

} // namespace

int main(int argc, char** argv)
try
{
    // The loop receives the signals: a handler would interrupt a call on the
    // bus.
    sigset_t signals{};
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return serve({argv + 1, argv + argc});
}
catch (const std::exception& error)
{
    std::cerr << error.what() << '\n';
    return EXIT_FAILURE;
}
