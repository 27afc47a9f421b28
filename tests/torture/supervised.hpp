// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/descriptor.hpp"
#include "support/shared_memory.hpp"
#include "system_call.hpp"

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>

namespace torture
{

/**
 * A forked child that runs a function. The parent decides on each of its system
 * calls: the kernel stops the child at the entry of a call (seccomp user
 * notification). This does what strace's injection does, but it works the same
 * on every machine and is fast enough for thousands of runs. The destructor
 * kills the child if it still runs.
 *
 *     Supervised child([] { return manager.saveUpdateState("idle"); });
 *     while (const auto call = child.next())
 *     {
 *         call->name == "fsync" ? child.fail(EIO) : child.proceed();
 *     }
 */
class Supervised
{
  public:
    /** The child keeps the text that the function returns, or "threw " and the
     *  text of the exception that leaves it. */
    using Work = std::function<std::string()>;

    explicit Supervised(const Work& work);
    ~Supervised();

    Supervised(const Supervised&) = delete;
    Supervised& operator=(const Supervised&) = delete;

    /** Waits for the next call of the function; nothing once the function has
     *  returned (the child is still there then) or the child has died. */
    std::optional<SystemCall> next();

    /** The waiting call is made. */
    void proceed();
    /** It is not made and fails with this errno. */
    void fail(int error);
    /** It is not made and seems to have worked, with this result. */
    void pretend(int64_t result);
    /** It is a write, and writes only its first byte. */
    void writeOneByte(const SystemCall& call);

    void kill();

    /** The child's open descriptors, as numbers. */
    [[nodiscard]] std::set<int> descriptors() const;

    /** The text that the function returned; nothing if it has not returned. */
    [[nodiscard]] std::optional<std::string> result() const;

    /** Lets the child end. @return its exit status, or minus the signal */
    int wait();

  private:
    struct Shared;

    void respond(int64_t result, int error, uint32_t flags);

    support::SharedMemory<Shared> shared;
    pid_t pid = -1;
    support::Descriptor listener;
    uint64_t waiting = 0;
};

/** From now on the calling process and its children skip all calls that do
 *  this, such as "rename", and each call seems to have worked. */
void swallow(const std::string& name);

} // namespace torture
