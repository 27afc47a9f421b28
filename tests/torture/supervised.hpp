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
 * A forked child that runs a function, and whose system calls are decided one
 * by one: the kernel stops each at its entry (seccomp user notification), as
 * strace's injection would, but on every machine alike and fast enough for
 * thousands of runs. Killed at the end if it still runs.
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
    /** Text is what the function returned; an exception that left it is
     *  "threw " and its text. */
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
    /** It is a write, and is made of the first byte alone. */
    void writeOneByte(const SystemCall& call);

    void kill();

    /** The child's open descriptors, as numbers. */
    [[nodiscard]] std::set<int> descriptors() const;

    /** What the function told; nothing as long as it has not returned. */
    [[nodiscard]] std::optional<std::string> told() const;

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

/** From now on the calling process and its children do not make the calls that
 *  do this, such as "rename", and each seems to have worked. */
void swallow(const std::string& name);

} // namespace torture
