// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <linux/seccomp.h>
#include <sys/types.h>

#include <array>
#include <cstdint>
#include <string>

namespace torture
{

/** A system call that another process is making. */
struct SystemCall
{
    /** What it does, on all processors alike: as in support/system_calls.hpp,
     *  but "create" is an open that can make the file, "fstat" a stat of a
     *  descriptor, and "unlock" a flock that gives the lock back. */
    std::string name;
    /** The absolute path of its file; empty if it has none. */
    std::string path;
    /** 0 for a call without flags. */
    uint64_t flags = 0;
    std::array<uint64_t, 6> arguments{};

    [[nodiscard]] bool isLike(const SystemCall& other) const
    {
        return name == other.name && path == other.path;
    }

    /** "open of /etc/bios-release" */
    [[nodiscard]] std::string text() const
    {
        return name + (path.empty() ? "" : " of " + path);
    }
};

/** What the kernel reports about a call that waits in a process. */
SystemCall describe(pid_t process, const seccomp_data& data);

/** Copies from the memory of a process. @return the number of bytes copied */
size_t readMemory(pid_t process, uint64_t address, void* to, size_t bytes);

} // namespace torture
