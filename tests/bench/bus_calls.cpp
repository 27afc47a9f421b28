// SPDX-License-Identifier: Apache-2.0

// Usage: bus_calls set|get|"raw set"|"raw get" TIMES
//
// Sets or reads a property, by the library or by calls of sd-bus that make the
// same exchange.

#include "measured.hpp"

#include <libfenmarch.hpp>
#include <systemd/sd-bus.h>

#include <iostream>
#include <map>
#include <stdexcept>

namespace
{

using phosphor::software::updater::FwManager;

constexpr auto service = "xyz.openbmc_project.Software.BMC.Updater";
constexpr auto path = "/xyz/openbmc_project/software/bmc_active";
constexpr auto properties = "org.freedesktop.DBus.Properties";
constexpr auto interface = "xyz.openbmc_project.Software.Version";

void require(bool success)
{
    if (!success)
    {
        throw std::runtime_error("the call failed");
    }
}

void set(sd_bus* bus, const std::string& version)
{
    sd_bus_error error{};
    const int status = sd_bus_call_method(bus, service, path, properties, "Set",
                                          &error, nullptr, "ssv", interface,
                                          "Version", "s", version.c_str());
    sd_bus_error_free(&error);
    require(status >= 0);
}

void get(sd_bus* bus, std::string& version)
{
    sd_bus_error error{};
    sd_bus_message* reply = nullptr;
    const int status =
        sd_bus_call_method(bus, service, path, properties, "Get", &error,
                           &reply, "ss", interface, "Version");
    sd_bus_error_free(&error);
    require(status >= 0);
    // As with the library, a value of another type reads as "".
    const int isString = sd_bus_message_verify_type(reply, 'v', "s");
    const char* text = "";
    require(isString == 0 || sd_bus_message_read(reply, "v", "s", &text) >= 0);
    version = text;
    sd_bus_message_unref(reply);
}

} // namespace

int main(int, char** argv)
try
{
    FwManager manager("BMC");
    sd_bus* bus = nullptr;
    require(sd_bus_default(&bus) >= 0);
    const std::string version = "fw-2.14.0007-202405";
    std::string read;
    set(bus, version);
    const std::map<std::string, std::function<void()>> operations{
        {"set",
         [&] { require(manager.setBmcVersion("bmc_active", version) == 0); }},
        {"get",
         [&] { require(manager.getBmcVersion("bmc_active", read) == 0); }},
        {"raw set", [&] { set(bus, version); }},
        {"raw get", [&] { get(bus, read); }}};
    const auto& operation = operations.at(argv[1]);
    const unsigned long times = std::stoul(argv[2]);
    for (unsigned long i = 0; i < times; ++i)
    {
        measure(operation);
    }
    require(read.empty() || read == version);
    sd_bus_unref(bus);
}
catch (const std::exception& problem)
{
    std::cerr << problem.what() << '\n';
    return 1;
}
