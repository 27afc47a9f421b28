#pragma once

#include <unistd.h>

namespace torture
{

/** Ends the process by a signal when it still lives then: somebody waits for
 *  ever. One at a time. */
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
