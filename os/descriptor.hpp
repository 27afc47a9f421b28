// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>

#include <utility>

namespace os
{

/** Owns a file descriptor and closes it. */
class Descriptor
{
  public:
    /** Takes ownership of the descriptor; -1 means none. */
    explicit Descriptor(int opened) noexcept : number(opened)
    {
    }

    ~Descriptor()
    {
        if (isOpen())
        {
            ::close(number);
        }
    }

    Descriptor(Descriptor&& other) noexcept :
        number(std::exchange(other.number, -1))
    {
    }

    Descriptor& operator=(Descriptor&&) = delete;

    [[nodiscard]] bool isOpen() const noexcept
    {
        return number != -1;
    }

    [[nodiscard]] int get() const noexcept
    {
        return number;
    }

  private:
    int number;
};

} // namespace os
