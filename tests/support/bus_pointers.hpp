// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <systemd/sd-bus.h>

#include <memory>

namespace support
{

struct ReleaseBus
{
    void operator()(sd_bus* bus) const
    {
        sd_bus_flush_close_unref(bus);
    }
};

struct ReleaseMessage
{
    void operator()(sd_bus_message* message) const
    {
        sd_bus_message_unref(message);
    }
};

/** Own one reference; that to a bus is the one that closes it. */
using BusPointer = std::unique_ptr<sd_bus, ReleaseBus>;
using MessagePointer = std::unique_ptr<sd_bus_message, ReleaseMessage>;

} // namespace support
