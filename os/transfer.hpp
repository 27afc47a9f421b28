// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>

#include <cerrno>
#include <string_view>

namespace os
{

/** Repeats a call as long as a handled signal interrupts it. */
template <typename Call>
ssize_t uninterrupted(Call call)
{
    ssize_t result = call();
    while (result == -1 && errno == EINTR)
    {
        result = call();
    }
    return result;
}

/** Reads like read(2), but no signal makes it fail. */
[[nodiscard]] ssize_t readSome(int file, char* buffer, size_t sizeBytes);

/** @return false, with errno, when write(2) fails before the end */
[[nodiscard]] bool writeAll(int file, std::string_view text);

} // namespace os
