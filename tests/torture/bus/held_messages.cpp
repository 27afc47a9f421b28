// SPDX-License-Identifier: Apache-2.0
#include "held_messages.hpp"

#include <systemd/sd-bus.h>

#include <dlfcn.h>

#include <utility>

namespace torture::bus
{

namespace
{

thread_local int held = 0;
thread_local bool leaking = false;
thread_local bool kept = false;

/** libsystemd also calls the functions below, for its own references. */
thread_local bool inside = false;

/** Calls libsystemd's function. */
template <typename Function, typename... Arguments>
auto callNext(const char* name, Arguments... arguments)
{
    auto* const next = reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
    const bool nested = std::exchange(inside, true);
    const auto result = next(arguments...);
    inside = nested;
    return result;
}

/** Counts references that other calls take. */
void take(bool taken)
{
    held += taken && !inside ? 1 : 0;
}

/** Whether to keep a reference that should be returned. */
bool keep()
{
    kept = leaking && !inside && !kept;
    return kept;
}

} // namespace

int heldMessages()
{
    return held;
}

void leakMessages(bool leak)
{
    leaking = leak;
}

} // namespace torture::bus

using torture::bus::callNext;
using torture::bus::held;
using torture::bus::inside;
using torture::bus::keep;
using torture::bus::take;

// These functions replace those of libsystemd in the whole process: the linker
// searches the program before its libraries.

int sd_bus_message_new_method_call(sd_bus* bus, sd_bus_message** m,
                                   const char* destination, const char* path,
                                   const char* interface, const char* member)
{
    const int result = callNext<decltype(sd_bus_message_new_method_call)>(
        __func__, bus, m, destination, path, interface, member);
    take(result >= 0);
    return result;
}

int sd_bus_call(sd_bus* bus, sd_bus_message* m, uint64_t usec,
                sd_bus_error* ret_error, sd_bus_message** reply)
{
    const int result = callNext<decltype(sd_bus_call)>(__func__, bus, m, usec,
                                                       ret_error, reply);
    take(result >= 0 && reply != nullptr);
    return result;
}

sd_bus_message* sd_bus_message_ref(sd_bus_message* message)
{
    take(message != nullptr);
    return callNext<decltype(sd_bus_message_ref)>(__func__, message);
}

sd_bus_message* sd_bus_message_unref(sd_bus_message* message)
{
    if (message == nullptr || keep())
    {
        return nullptr;
    }
    held -= inside ? 0 : 1;
    return callNext<decltype(sd_bus_message_unref)>(__func__, message);
}
