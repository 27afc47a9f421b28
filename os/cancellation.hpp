// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>

namespace os
{

/**
 * Holds pthread_cancel() off for the calling thread. A request that arrives
 * meanwhile takes effect at the first cancellation point after that.
 *
 * Almost every call on files is a cancellation point, including close(2) in a
 * destructor. A cancellation there would end the process: the unwinding meets a
 * destructor or a handler that must not let it pass.
 */
class CancellationHeldOff
{
  public:
    CancellationHeldOff() noexcept
    {
        ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
    }

    ~CancellationHeldOff()
    {
        ::pthread_setcancelstate(before, nullptr);
    }

    CancellationHeldOff(const CancellationHeldOff&) = delete;
    CancellationHeldOff& operator=(const CancellationHeldOff&) = delete;

  private:
    int before = PTHREAD_CANCEL_ENABLE;
};

} // namespace os
