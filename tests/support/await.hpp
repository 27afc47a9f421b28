#pragma once

#include <chrono>
#include <thread>

namespace support
{

/** How long a test waits for what has to happen. */
inline constexpr auto patience = std::chrono::seconds(10);

/** Waits until the condition holds, which is asked again and again.
 *  @return false when it does not within the time above */
template <typename Condition>
bool await(Condition condition)
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!condition())
    {
        if (std::chrono::steady_clock::now() > deadline)
        {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace support
