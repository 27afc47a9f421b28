// SPDX-License-Identifier: Apache-2.0
#include "memory_file.hpp"

#include "support/checked.hpp"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fuzz
{

using support::checked;

MemoryFile::MemoryFile() :
    descriptor(checked(::memfd_create("fuzz", MFD_CLOEXEC), "memfd_create")),
    name("/proc/self/fd/" + std::to_string(descriptor))
{
}

MemoryFile::~MemoryFile()
{
    ::close(descriptor);
}

const std::string& MemoryFile::path() const
{
    return name;
}

void MemoryFile::write(std::string_view content)
{
    checked(::ftruncate(descriptor, 0), "ftruncate");
    checked(::pwrite(descriptor, content.data(), content.size(), 0), "pwrite");
}

std::string MemoryFile::read() const
{
    struct stat status = {};
    checked(::fstat(descriptor, &status), "fstat");
    std::string content(static_cast<std::size_t>(status.st_size), '\0');
    checked(::pread(descriptor, content.data(), content.size(), 0), "pread");
    return content;
}

} // namespace fuzz
