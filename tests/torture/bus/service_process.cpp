// SPDX-License-Identifier: Apache-2.0
#include "service_process.hpp"

#include <poll.h>
#include <sys/prctl.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <stdexcept>

namespace torture::bus
{

namespace
{

using support::Answer;
using support::FakeServices;

/** Answers only after the caller's time-out. */
constexpr std::chrono::microseconds tooLate{3 * shortTimeOutMicroseconds};

void waitForCall(FakeServices& services, const std::string& path)
{
    const auto addressed = [&] {
        return std::ranges::count(services.takeCalls(), path,
                                  &support::RecordedCall::path) != 0;
    };
    while (!addressed())
    {
        ::poll(nullptr, 0, 1);
    }
}

} // namespace

ServiceProcess::ServiceProcess(const Operation& operation, Peer peer) :
    process([&] {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        FakeServices services;
        const std::string path =
            std::string(operation.path) + std::string(operation.object);
        services.setProperty(path, std::string(operation.member), "s", "held");
        services.answer(
            path, std::string(operation.member),
            peer == Peer::killed
                ? Answer::never()
                : Answer::late(
                      std::chrono::ceil<std::chrono::milliseconds>(tooLate)));
        ready.open();
        if (peer == Peer::killed)
        {
            waitForCall(services, path);
            static_cast<void>(::raise(SIGKILL));
        }
        while (true)
        {
            ::pause();
        }
        return 0;
    })
{
    if (!ready.pass())
    {
        throw std::runtime_error("the process of the services is not ready");
    }
    if (peer == Peer::stopped)
    {
        process.signal(SIGSTOP);
    }
}

void ServiceProcess::goOn() const
{
    process.signal(SIGCONT);
}

} // namespace torture::bus
