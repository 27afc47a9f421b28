// SPDX-License-Identifier: Apache-2.0
#include "transfer.hpp"

namespace os
{

ssize_t readSome(int file, char* buffer, size_t sizeBytes)
{
    return uninterrupted([&] { return ::read(file, buffer, sizeBytes); });
}

bool writeAll(int file, std::string_view text)
{
    while (!text.empty())
    {
        const ssize_t written = uninterrupted(
            [&] { return ::write(file, text.data(), text.size()); });
        if (written == -1)
        {
            return false;
        }
        text.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

} // namespace os
