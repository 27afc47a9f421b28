// SPDX-License-Identifier: Apache-2.0
#include "image_copy.hpp"

#include "../../os/files.hpp"
#include "../../os/transfer.hpp"

#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>

// Not with std::filesystem::copy_file(): it fails if a time of the source does
// not fit into its time_t (a date after 2038 in 32 bits), and a program that
// another thread executes meanwhile inherits its descriptors.

namespace fenmarch
{

namespace
{

using os::Descriptor;

/** Checks the type before it opens the file: opening a device can have effects.
 *  @return not open when the file is not regular or cannot be opened */
Descriptor openRegularFile(const std::string& path)
{
    struct statx status = {};
    const bool regular =
        ::statx(AT_FDCWD, path.c_str(), 0, STATX_TYPE, &status) == 0 &&
        S_ISREG(status.stx_mode);
    return regular ? os::openAtOnce(path, O_RDONLY) : Descriptor(-1);
}

/** @return false when the kernel cannot copy between these files */
bool copyInTheKernel(const Descriptor& from, const Descriptor& to)
{
    constexpr size_t partBytes = 1 << 20;
    ssize_t copied = 1;
    while (copied > 0)
    {
        copied = os::uninterrupted([&] {
            return ::sendfile(to.get(), from.get(), nullptr, partBytes);
        });
    }
    return copied == 0 || (errno != EINVAL && errno != ENOSYS);
}

void copyThroughMemory(const Descriptor& from, const Descriptor& to)
{
    std::array<char, 4096> buffer{};
    for (;;)
    {
        const ssize_t length =
            os::readSome(from.get(), buffer.data(), buffer.size());
        if (length <= 0 ||
            !os::writeAll(to.get(),
                          {buffer.data(), static_cast<size_t>(length)}))
        {
            return;
        }
    }
}

} // namespace

void copyImage(const std::string& source, const std::string& copy)
{
    const Descriptor from = openRegularFile(source);
    if (!from.isOpen())
    {
        return;
    }
    const Descriptor to = os::openAtOnce(copy, O_WRONLY | O_CREAT | O_EXCL);
    if (!to.isOpen())
    {
        return;
    }
    if (!copyInTheKernel(from, to))
    {
        copyThroughMemory(from, to);
    }
    ::fsync(to.get());
}

} // namespace fenmarch
