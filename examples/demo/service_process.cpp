// SPDX-License-Identifier: Apache-2.0
#include "service_process.hpp"

#include "support/checked.hpp"
#include "support/files.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace demo
{

namespace
{

constexpr auto service = "com.example.FirmwareUpdate";
constexpr auto objects = "/com/example/firmware_update/";
constexpr std::chrono::seconds patience{30};
constexpr int notStarted = 127;

/** In the child: does not return. */
int execute(const std::filesystem::path& program, int output)
{
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    execl(program.c_str(), program.c_str(), "Host=bios_active",
          "BMC=bmc_active", "CPLD=cpld_active", nullptr);
    return notStarted;
}

bool awaitOwner(sd_bus* bus)
{
    constexpr std::chrono::milliseconds pause{5};
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (sd_bus_get_name_creds(bus, service, 0, nullptr) < 0)
    {
        if (std::chrono::steady_clock::now() > deadline)
        {
            return false;
        }
        std::this_thread::sleep_for(pause);
    }
    return true;
}

} // namespace

ServiceProcess::ServiceProcess(const std::filesystem::path& program) :
    output(
        support::checked(memfd_create("service", MFD_CLOEXEC), "memfd_create")),
    process([&] { return execute(program, output.get()); })
{
    if (!awaitOwner(caller.get()))
    {
        throw std::runtime_error("the service does not start: " + written());
    }
}

std::vector<std::string> ServiceProcess::ask(const std::string& request)
{
    std::istringstream words(request);
    std::string method;
    std::string firmware;
    words >> method >> firmware;
    const std::string path = objects + firmware;
    if (method == "Show")
    {
        std::vector<std::string> lines;
        for (const std::string property : {"State", "Verifying", "Verified"})
        {
            lines.push_back(
                property + ": " +
                caller.call(service, path, "org.freedesktop.DBus.Properties",
                            "Get", "ss", service + (' ' + property), patience));
        }
        return lines;
    }
    std::string signature;
    std::string arguments;
    for (std::string word; words >> word; arguments += word + ' ')
    {
        signature += 's';
    }
    const auto reply = caller.call(service, path, service, method, signature,
                                   arguments, patience);
    return {reply.empty() ? "done" : reply};
}

int ServiceProcess::end()
{
    process.signal(SIGTERM);
    const int status = process.wait();
    if (status != 0)
    {
        std::cerr << written();
    }
    return status;
}

std::string ServiceProcess::written() const
{
    return support::readFile("/proc/self/fd/" + std::to_string(output.get()));
}

} // namespace demo
