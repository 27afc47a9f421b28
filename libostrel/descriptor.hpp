#pragma once

#include <unistd.h>

#include <utility>

namespace ostrel
{

/** Owns a file descriptor and closes it. */
class Descriptor
{
  public:
    explicit Descriptor(int opened) noexcept : number(opened)
    {
    }

    ~Descriptor()
    {
        if (number != -1)
        {
            ::close(number);
        }
    }

    Descriptor(Descriptor&& other) noexcept :
        number(std::exchange(other.number, -1))
    {
    }

    Descriptor& operator=(Descriptor&&) = delete;

    [[nodiscard]] int get() const noexcept
    {
        return number;
    }

  private:
    int number;
};

} // namespace ostrel
