// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "transfer.hpp"

#include <csignal>

namespace os
{

/**
 * Holds SIGPIPE off for the calling thread. Without this, the process would end
 * when the readers of a FIFO close it; now the write fails, as on a full disk.
 * A signal that was pending before stays pending.
 */
class PipeSignalHeldOff
{
  public:
    PipeSignalHeldOff() noexcept
    {
        ::sigemptyset(&pipeSignal);
        ::sigaddset(&pipeSignal, SIGPIPE);
        sigset_t pending{};
        ::sigpending(&pending);
        wasPending = ::sigismember(&pending, SIGPIPE) == 1;
        ::pthread_sigmask(SIG_BLOCK, &pipeSignal, &before);
    }

    ~PipeSignalHeldOff()
    {
        if (!wasPending)
        {
            constexpr timespec atOnce{};
            uninterrupted(
                [&] { return ::sigtimedwait(&pipeSignal, nullptr, &atOnce); });
        }
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }

    PipeSignalHeldOff(const PipeSignalHeldOff&) = delete;
    PipeSignalHeldOff& operator=(const PipeSignalHeldOff&) = delete;

  private:
    sigset_t pipeSignal{};
    sigset_t before{};
    bool wasPending = false;
};

} // namespace os
