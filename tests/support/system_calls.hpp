// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace support
{

/**
 * A system call of Linux and what it does. Which call does a thing depends on
 * the processor and the C library: a program on 64-bit x86 looks at a file by
 * newfstatat, the same one on 32-bit ARM by statx or fstatat64.
 */
struct SystemCallKind
{
    static constexpr int none = -1;

    /** The kernel's name. */
    std::string_view systemName;
    /** What it does; the same for all calls that do the same. */
    std::string_view name;
    /** Which argument is a path, from 0. */
    int path = none;
    /** Which argument is a descriptor: the directory where the path starts, or
     *  the file itself if there is no path. */
    int descriptor = none;
    /** Which argument has the flags. */
    int flags = none;
};

/** A call that the table does not have does what the kernel's name says. */
SystemCallKind kindOfSystemCall(std::string_view systemName);

/** The kernel's names of all calls that do this. No machine has all. */
std::vector<std::string> systemNamesOf(std::string_view name);

} // namespace support
