// SPDX-License-Identifier: Apache-2.0
#include "child.hpp"

#include "await.hpp"
#include "checked.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <system_error>

namespace support
{

namespace
{

constexpr int exceptionStatus = 125;
constexpr int notFoundStatus = 127;

int waitFor(pid_t pid)
{
    int status = 0;
    while (::waitpid(pid, &status, 0) == -1)
    {
        if (errno != EINTR)
        {
            throwErrno("waitpid");
        }
    }
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

[[noreturn]] void execute(const std::vector<std::string>& command,
                          const std::vector<std::string>& variables)
{
    std::vector<char*> arguments;
    for (const auto& argument : command)
    {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    for (const auto& variable : variables)
    {
        ::putenv(const_cast<char*>(variable.c_str()));
    }
    ::execvp(arguments[0], arguments.data());
    ::_exit(notFoundStatus);
}

} // namespace

ProcessResult run(const std::vector<std::string>& command,
                  const std::vector<std::string>& variables)
{
    std::array<int, 2> ends{};
    checked(::pipe2(ends.data(), O_CLOEXEC), "pipe2");
    const pid_t pid = checked(::fork(), "fork");
    if (pid == 0)
    {
        ::dup2(ends[1], STDOUT_FILENO);
        ::dup2(ends[1], STDERR_FILENO);
        execute(command, variables);
    }
    ::close(ends[1]);
    ProcessResult outcome;
    std::array<char, 4096> buffer{};
    ssize_t got = 0;
    while ((got = ::read(ends[0], buffer.data(), buffer.size())) > 0)
    {
        outcome.output.append(buffer.data(), static_cast<size_t>(got));
    }
    ::close(ends[0]);
    outcome.status = waitFor(pid);
    return outcome;
}

Child::Child(const std::function<int()>& work) : pid(checked(::fork(), "fork"))
{
    if (pid == 0)
    {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        int status = exceptionStatus;
        try
        {
            status = work();
        }
        catch (const std::exception& e)
        {
            std::cerr << "child: " << e.what() << std::endl;
        }
        ::_exit(status);
    }
}

Child::~Child()
{
    if (pid != -1)
    {
        ::kill(pid, SIGKILL);
        ::waitpid(pid, nullptr, 0);
    }
}

int Child::wait()
{
    const int status = waitFor(pid);
    pid = -1;
    return status;
}

void Child::signal(int number) const
{
    checked(::kill(pid, number), "kill");
}

bool Child::waitsForLock() const
{
    const std::string wanted =
        "-> FLOCK  ADVISORY  WRITE " + std::to_string(pid) + " ";
    return await([&] {
        std::ifstream locks("/proc/locks");
        std::string line;
        while (std::getline(locks, line))
        {
            if (line.find(wanted) != std::string::npos)
            {
                return true;
            }
        }
        return false;
    });
}

Gate::Gate()
{
    std::array<int, 2> ends{};
    checked(::pipe2(ends.data(), O_CLOEXEC), "pipe2");
    readEnd = ends[0];
    writeEnd = ends[1];
}

Gate::~Gate()
{
    ::close(readEnd);
    ::close(writeEnd);
}

void Gate::open() const
{
    checked(::write(writeEnd, "", 1), "write");
}

bool Gate::pass() const
{
    pollfd ready{readEnd, POLLIN, 0};
    constexpr int most =
        static_cast<int>(std::chrono::milliseconds(patience).count());
    char token = 0;
    return ::poll(&ready, 1, most) == 1 && ::read(readEnd, &token, 1) == 1;
}

} // namespace support
