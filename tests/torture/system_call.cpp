// SPDX-License-Identifier: Apache-2.0
#include "system_call.hpp"

#include "support/system_calls.hpp"

#include <seccomp.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/uio.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string_view>
#include <system_error>

namespace torture
{

namespace
{

namespace fs = std::filesystem;
using support::SystemCallKind;

std::string systemNameOf(const seccomp_data& data)
{
    const std::unique_ptr<char, decltype([](char* it) { std::free(it); })> name(
        seccomp_syscall_resolve_num_arch(data.arch, data.nr));
    return name ? name.get() : std::to_string(data.nr);
}

/** The text at this address; "" for a null pointer. */
std::string readText(pid_t process, uint64_t address)
{
    // Stays within one page: the memory after the text need not exist.
    std::array<char, 64> part{};
    std::string text;
    while (true)
    {
        const std::string_view got(
            part.data(), readMemory(process, address, part.data(),
                                    part.size() - address % part.size()));
        const size_t end = got.find('\0');
        text += got.substr(0, end);
        if (got.empty() || end != std::string_view::npos)
        {
            return text;
        }
        address += got.size();
    }
}

/** The target of a link below /proc/PID; empty if it is not a file. */
fs::path linkOf(pid_t process, const std::string& name)
{
    std::error_code notOpen;
    const fs::path target = fs::read_symlink(
        "/proc/" + std::to_string(process) + "/" + name, notOpen);
    return target.is_absolute() ? target : fs::path();
}

fs::path openFile(pid_t process, uint64_t descriptor)
{
    // Negative numbers come as large ones, on some processors cut to 32 bits.
    const auto number = static_cast<int>(descriptor);
    return linkOf(process,
                  number == AT_FDCWD ? "cwd" : "fd/" + std::to_string(number));
}

std::string withoutEnd(const fs::path& path)
{
    const fs::path normal = path.lexically_normal();
    return normal.has_filename() ? normal : normal.parent_path();
}

/** The name of a call that its arguments turn into something else. */
std::string nameOf(const SystemCallKind& kind, uint64_t flags,
                   const std::string& path)
{
    if (kind.name == "open" && (flags & O_CREAT) != 0)
    {
        return "create";
    }
    if (kind.name == "flock" && (flags & LOCK_UN) != 0)
    {
        return "unlock";
    }
    if (kind.name == "stat" && path.empty())
    {
        return "fstat";
    }
    return std::string(kind.name);
}

} // namespace

SystemCall describe(pid_t process, const seccomp_data& data)
{
    constexpr int none = SystemCallKind::none;
    SystemCall call;
    std::ranges::copy(data.args, call.arguments.begin());
    const auto argument = [&](int number) {
        return call.arguments.at(static_cast<size_t>(number));
    };

    const std::string systemName = systemNameOf(data);
    const SystemCallKind kind = support::kindOfSystemCall(systemName);
    fs::path file;
    if (kind.descriptor != none)
    {
        file = openFile(process, argument(kind.descriptor));
    }
    std::string path;
    if (kind.path != none)
    {
        path = readText(process, argument(kind.path));
        file = kind.descriptor == none ? linkOf(process, "cwd") : file;
    }
    call.flags = kind.flags == none ? 0 : argument(kind.flags);
    call.name = nameOf(kind, call.flags, path);
    call.path = withoutEnd(path.empty() ? file : file / path);
    return call;
}

size_t readMemory(pid_t process, uint64_t address, void* to, size_t bytes)
{
    const iovec here{to, bytes};
    const iovec there{
        // NOLINTNEXTLINE(performance-no-int-to-ptr): an address of the other
        reinterpret_cast<void*>(static_cast<uintptr_t>(address)), bytes};
    const ssize_t got = ::process_vm_readv(process, &here, 1, &there, 1, 0);
    return got > 0 ? static_cast<size_t>(got) : 0;
}

} // namespace torture
