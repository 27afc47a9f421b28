// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <string>
#include <system_error>

namespace support
{

/** Throws errno as std::system_error; its text starts with what was tried. */
[[noreturn]] inline void throwErrno(const std::string& what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

/**
 * The result of a system call.
 * @throws std::system_error with errno when it is negative
 */
template <typename Result>
Result checked(Result result, const std::string& what)
{
    if (result < 0)
    {
        throwErrno(what);
    }
    return result;
}

/**
 * The result of a libsystemd call, which returns its error as a negative
 * number.
 * @throws std::system_error when it is negative
 */
inline int checkedSystemd(int result, const std::string& what)
{
    if (result < 0)
    {
        throw std::system_error(-result, std::generic_category(), what);
    }
    return result;
}

} // namespace support
