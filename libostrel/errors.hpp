// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../os/cancellation.hpp"
#include "../os/descriptor.hpp"

#include <cerrno>
#include <exception>
#include <new>
#include <system_error>

namespace ostrel
{

/** Leaves as the exception that carries this errno value. */
[[noreturn]] inline void fail(int error)
{
    throw std::system_error(error, std::generic_category());
}

/** @throws std::system_error with error unless the condition holds */
inline void require(bool condition, int error)
{
    if (!condition)
    {
        fail(error);
    }
}

/** @throws std::system_error with errno when the result of a system call is -1
 */
inline void check(ssize_t result)
{
    require(result != -1, errno);
}

/** Passes a file on. @throws std::system_error with errno if it is not open */
inline os::Descriptor check(os::Descriptor file)
{
    require(file.isOpen(), errno);
    return file;
}

/** The errno value for the exception being handled. */
inline int currentError() noexcept
{
    try
    {
        throw;
    }
    catch (const std::system_error& e)
    {
        return e.code().value();
    }
    catch (...)
    {
        // Everything else that the standard library throws here means that
        // something is too large for the memory.
        return ENOMEM;
    }
}

/**
 * The one boundary between exceptions and C: runs an operation, and turns an
 * exception into errno and the given result. A cancellation of the thread is
 * held off: its unwinding is an exception that must not end here.
 */
template <typename Result, typename Operation>
Result guarded(Result failure, Operation operation) noexcept
{
    const os::CancellationHeldOff held;
    try
    {
        return operation();
    }
    catch (...)
    {
        errno = currentError();
        return failure;
    }
}

} // namespace ostrel
