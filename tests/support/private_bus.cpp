// SPDX-License-Identifier: Apache-2.0
#include "private_bus.hpp"

#include "checked.hpp"
#include "descriptor.hpp"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

namespace support
{

namespace
{

constexpr const char* socketPath = "/run/dbus/system_bus_socket";
constexpr std::chrono::milliseconds startDeadline{10000};

// No <user>: inside a user namespace there is no other to change to.
constexpr std::string_view configuration = R"(<busconfig>
  <type>system</type>
  <listen>unix:path=/run/dbus/system_bus_socket</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_type="method_call"/>
    <allow send_type="signal"/>
    <allow send_requested_reply="true" send_type="method_return"/>
    <allow send_requested_reply="true" send_type="error"/>
    <allow receive_type="method_call"/>
    <allow receive_type="method_return"/>
    <allow receive_type="error"/>
    <allow receive_type="signal"/>
  </policy>
</busconfig>
)";

Descriptor makeConfiguration()
{
    Descriptor file(memfd_create("private_bus.conf", 0));
    checked(file.get(), "memfd_create");
    checked(write(file.get(), configuration.data(), configuration.size()),
            "write the bus configuration");
    return file;
}

struct Pipe
{
    Descriptor readEnd;
    Descriptor writeEnd;
};

Pipe makePipe()
{
    int ends[2];
    checked(pipe2(ends, O_CLOEXEC), "pipe2");
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

/** Forks and runs the daemon, which prints its address to the pipe. */
pid_t spawnDaemon(int configurationFile, int addressPipe)
{
    const std::string file =
        "--config-file=/proc/self/fd/" + std::to_string(configurationFile);
    const std::string print = "--print-address=" + std::to_string(addressPipe);
    const char* const arguments[] = {
        "dbus-daemon", file.c_str(), print.c_str(), "--nofork",
        "--nopidfile", "--nosyslog", nullptr};
    const pid_t parent = getpid();
    const pid_t child = checked(fork(), "fork");
    if (child == 0)
    {
        // Only calls that are safe after a fork beside other threads.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        fcntl(addressPipe, F_SETFD, 0);
        if (getppid() == parent)
        {
            execvp(arguments[0], const_cast<char* const*>(arguments));
        }
        _exit(127);
    }
    return child;
}

/** Whether anything arrives before the deadline or the end of the pipe. */
bool reportsAddress(int pipe)
{
    pollfd entry{.fd = pipe, .events = POLLIN, .revents = 0};
    const int timeout = static_cast<int>(startDeadline.count());
    char byte = 0;
    return poll(&entry, 1, timeout) == 1 && read(pipe, &byte, 1) == 1;
}

} // namespace

PrivateBus::PrivateBus()
{
    setenv("DBUS_STARTER_BUS_TYPE", "system", 1);
    setenv("DBUS_SYSTEM_BUS_ADDRESS", address().c_str(), 1);
    start();
}

PrivateBus::~PrivateBus()
{
    stop();
}

void PrivateBus::stop()
{
    if (daemon < 0)
    {
        return;
    }
    kill(daemon, SIGKILL);
    waitpid(daemon, nullptr, 0);
    daemon = -1;
    unlink(socketPath);
}

void PrivateBus::start()
{
    if (daemon >= 0)
    {
        return;
    }
    std::filesystem::create_directories(
        std::filesystem::path(socketPath).parent_path());
    const Descriptor file = makeConfiguration();
    Pipe pipe = makePipe();
    daemon = spawnDaemon(file.get(), pipe.writeEnd.get());
    pipe.writeEnd = Descriptor();
    if (!reportsAddress(pipe.readEnd.get()))
    {
        stop();
        throw std::runtime_error("dbus-daemon does not come up");
    }
}

std::string PrivateBus::address()
{
    return std::string("unix:path=") + socketPath;
}

} // namespace support
