// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>

#include <utility>

namespace support
{

/** Owns a file descriptor and closes it. */
class Descriptor
{
  public:
    Descriptor() = default;

    /** Takes ownership of the descriptor; a negative number means none. */
    explicit Descriptor(int descriptor) : number(descriptor)
    {
    }

    Descriptor(Descriptor&& other) noexcept :
        number(std::exchange(other.number, -1))
    {
    }

    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(number, other.number);
        return *this;
    }

    ~Descriptor()
    {
        if (number >= 0)
        {
            close(number);
        }
    }

    int get() const
    {
        return number;
    }

    explicit operator bool() const
    {
        return number >= 0;
    }

  private:
    int number = -1;
};

} // namespace support
