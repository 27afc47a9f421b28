// SPDX-License-Identifier: Apache-2.0

/**
 * The three kinds of call that the library makes on the system bus. Each makes
 * one blocking call and keeps nothing.
 *
 * Each has two phases. A failure while the message is prepared is thrown as
 * sdbusplus::exception::SdBusError. A failure of the exchange (sending,
 * waiting, reading the reply) is passed to `report`, once, and the result is -1
 * instead of 0.
 */
#pragma once

#include "../paths_and_names.hpp"

#include <sdbusplus/bus.hpp>
#include <sdbusplus/exception.hpp>
#include <sdbusplus/message.hpp>

#include <string>
#include <variant>

namespace fenmarch
{

/** An interface of an object at a service. */
struct DbusInterface
{
    const char* service;
    std::string path;
    const char* interface;
};

/** Runs an exchange and reports its failure; nothing else is caught. */
template <typename Exchange, typename Report>
int reportFailure(Exchange exchange, Report report)
{
    try
    {
        exchange();
        return 0;
    }
    catch (const sdbusplus::exception::exception& error)
    {
        report(error);
        return -1;
    }
}

/** Calls a method without arguments; its reply is discarded. */
template <typename Report>
int callDbusMethod(sdbusplus::bus_t& bus, const DbusInterface& target,
                   const char* method, Report report)
{
    auto call = bus.new_method_call(target.service, target.path.c_str(),
                                    target.interface, method);
    return reportFailure([&] { bus.call(call); }, report);
}

/** A prepared call of org.freedesktop.DBus.Properties. */
inline sdbusplus::message_t newPropertyCall(sdbusplus::bus_t& bus,
                                            const DbusInterface& target,
                                            const char* method,
                                            const char* property)
{
    auto call = bus.new_method_call(target.service, target.path.c_str(),
                                    interfaces::properties, method);
    call.append(target.interface, property);
    return call;
}

/** Sets a property to a value of the D-Bus type that Value stands for. */
template <typename Value, typename Report>
int setDbusProperty(sdbusplus::bus_t& bus, const DbusInterface& target,
                    const char* property, const Value& value, Report report)
{
    auto call = newPropertyCall(bus, target, "Set", property);
    call.append(std::variant<Value>(value));
    return reportFailure([&] { bus.call(call); }, report);
}

/**
 * Gets a property that is a string; a property of another type reads as "". The
 * value is written only on success.
 */
template <typename Report>
int getDbusProperty(sdbusplus::bus_t& bus, const DbusInterface& target,
                    const char* property, std::string& value, Report report)
{
    auto call = newPropertyCall(bus, target, "Get", property);
    return reportFailure(
        [&] {
            std::variant<std::string> read;
            bus.call(call).read(read);
            value = std::get<std::string>(std::move(read));
        },
        report);
}

} // namespace fenmarch
