// SPDX-License-Identifier: Apache-2.0
#include "system_calls.hpp"

#include <array>

namespace support
{

namespace
{

constexpr int none = SystemCallKind::none;

// System name, name, and the places of path, descriptor and flags. A copy
// counts as a call of the file that is written, a rename as one of the old
// name.
constexpr auto kinds = std::to_array<SystemCallKind>({
    {"access", "access", 0},
    {"faccessat", "access", 1, 0},
    {"faccessat2", "access", 1, 0},
    {"chmod", "chmod", 0},
    {"fchmod", "chmod", none, 0},
    {"fchmodat", "chmod", 1, 0},
    {"fchmodat2", "chmod", 1, 0},
    {"chown", "chown", 0},
    {"chown32", "chown", 0},
    {"fchown", "chown", none, 0},
    {"fchown32", "chown", none, 0},
    {"fchownat", "chown", 1, 0},
    {"lchown", "chown", 0},
    {"lchown32", "chown", 0},
    {"close", "close", none, 0},
    {"copy_file_range", "copy", none, 2},
    {"sendfile", "copy", none, 0},
    {"sendfile64", "copy", none, 0},
    {"fcntl", "fcntl", none, 0},
    {"fcntl64", "fcntl", none, 0},
    {"flock", "flock", none, 0, 1},
    {"fdatasync", "fsync", none, 0},
    {"fsync", "fsync", none, 0},
    {"ftruncate", "ftruncate", none, 0},
    {"ftruncate64", "ftruncate", none, 0},
    {"futex", "futex"},
    {"futex_time64", "futex"},
    {"getdents", "getdents", none, 0},
    {"getdents64", "getdents", none, 0},
    {"mkdir", "mkdir", 0},
    {"mkdirat", "mkdir", 1, 0},
    {"mmap", "mmap"},
    {"mmap2", "mmap"},
    {"open", "open", 0, none, 1},
    {"openat", "open", 1, 0, 2},
    {"pipe2", "pipe", none, none, 1},
    {"read", "read", none, 0},
    {"readlink", "readlink", 0},
    {"readlinkat", "readlink", 1, 0},
    {"rmdir", "remove", 0},
    {"unlink", "remove", 0},
    {"unlinkat", "remove", 1, 0},
    {"rename", "rename", 0},
    {"renameat", "rename", 1, 0},
    {"renameat2", "rename", 1, 0},
    {"_llseek", "seek", none, 0},
    {"lseek", "seek", none, 0},
    {"socket", "socket", none, none, 1},
    {"fstat", "stat", none, 0},
    {"fstat64", "stat", none, 0},
    {"fstatat64", "stat", 1, 0},
    {"lstat", "stat", 0},
    {"lstat64", "stat", 0},
    {"newfstatat", "stat", 1, 0},
    {"stat", "stat", 0},
    {"stat64", "stat", 0},
    {"statx", "stat", 1, 0},
    {"write", "write", none, 0},
});

} // namespace

SystemCallKind kindOfSystemCall(std::string_view systemName)
{
    for (const auto& kind : kinds)
    {
        if (kind.systemName == systemName)
        {
            return kind;
        }
    }
    return {systemName, systemName};
}

std::vector<std::string> systemNamesOf(std::string_view name)
{
    std::vector<std::string> names;
    for (const auto& kind : kinds)
    {
        if (kind.name == name)
        {
            names.emplace_back(kind.systemName);
        }
    }
    return names;
}

} // namespace support
