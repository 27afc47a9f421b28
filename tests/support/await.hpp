// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <thread>

namespace support
{

/** The longest time that a test waits for something that must happen. */
inline constexpr auto patience = std::chrono::seconds(10);

/** Waits until the condition holds, and checks it again and again.
 *  @return false if it does not hold within the time above */
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
