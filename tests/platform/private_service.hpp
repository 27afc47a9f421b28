// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/fake_services.hpp"
#include "support/private_bus.hpp"

#include <gtest/gtest.h>
#include <sdbusplus/bus.hpp>
#include <sdbusplus/sdbus.hpp>
#include <systemd/sd-bus.h>

#include <type_traits>

namespace platform
{

/** A bus with one service, "a.b.Service", that answers by the rules of a test.
 */
class PrivateService : public testing::Test
{
  protected:
    /** A reference to the connection of this thread. */
    static sd_bus* defaultConnection()
    {
        sd_bus* connection = nullptr;
        EXPECT_GE(sd_bus_default(&connection), 0);
        return connection;
    }

    static sdbusplus::bus_t connect()
    {
        return {defaultConnection(), std::false_type()};
    }

    /** As connect(), calling through the interface. */
    static sdbusplus::bus_t connectThrough(sdbusplus::SdBusInterface& interface)
    {
        sd_bus* const connection = defaultConnection();
        sdbusplus::bus_t bus(connection, &interface);
        sd_bus_unref(connection);
        return bus;
    }

    support::PrivateBus daemon;
    support::FakeServices service{{"a.b.Service"}};
};

} // namespace platform
