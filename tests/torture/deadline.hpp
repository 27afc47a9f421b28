// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>

namespace torture
{

/** Kills the process by a signal if it still runs at the deadline, because
 *  something waits for ever. Only one at a time. */
class Deadline
{
  public:
    explicit Deadline(unsigned int seconds)
    {
        ::alarm(seconds);
    }

    ~Deadline()
    {
        ::alarm(0);
    }

    Deadline(const Deadline&) = delete;
    Deadline& operator=(const Deadline&) = delete;
};

} // namespace torture
