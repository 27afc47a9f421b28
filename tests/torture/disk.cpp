// SPDX-License-Identifier: Apache-2.0
#include "disk.hpp"

#include "support/checked.hpp"
#include "support/child.hpp"
#include "support/descriptor.hpp"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <stdexcept>

namespace torture
{

namespace
{

namespace fs = std::filesystem;
using support::checked;
using support::Descriptor;

constexpr off_t imageSizeBytes = 32 << 20;

// The kernel's interface to ext4. No header declares it for programs.
constexpr unsigned long shutdownRequest = _IOR('X', 125, uint32_t);
constexpr uint32_t withoutFlushingTheLog = 2;

std::string runChecked(const std::vector<std::string>& command)
{
    const auto outcome = support::run(command);
    if (outcome.status != 0)
    {
        throw std::runtime_error(command[0] + ": " + outcome.output);
    }
    return outcome.output.substr(0, outcome.output.find('\n'));
}

Descriptor openDirectory(const fs::path& directory)
{
    return Descriptor(checked(::open(directory.c_str(), O_RDONLY | O_CLOEXEC),
                              "open " + directory.string()));
}

/** As root of the host, not of a user namespace. */
bool mayMountDevices()
{
    // The kernel checks the rights first, and then the kind of file.
    return ::mount("/dev/null", "/run", "ext4", 0, nullptr) == 0 ||
           (errno != EPERM && errno != EACCES);
}

bool hasLoopDevice()
{
    constexpr int noneFound = 1;
    const auto found = support::run({"losetup", "--find"});
    const auto device = found.output.substr(0, found.output.find('\n'));
    // A missing losetup is not a missing device: the constructor reports it.
    return found.status != noneFound &&
           (found.status != 0 ||
            Descriptor(::open(device.c_str(), O_RDWR | O_CLOEXEC)));
}

} // namespace

bool Disk::canBeMade()
{
    return mayMountDevices() && hasLoopDevice();
}

Disk::Disk() : image("/run/disk.ext4")
{
    {
        const Descriptor file(
            checked(::open(image.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600),
                    "open " + image.string()));
        checked(::ftruncate(file.get(), imageSizeBytes), "ftruncate");
    }
    runChecked({"mkfs.ext4", "-q", "-F", image});
    device = runChecked({"losetup", "--find", "--show", image});
}

Disk::~Disk()
{
    if (!mountedAt.empty())
    {
        ::umount2(mountedAt.c_str(), MNT_DETACH);
    }
    support::run({"losetup", "--detach", device});
    ::unlink(image.c_str());
}

void Disk::mount(const fs::path& place, const std::string& options)
{
    fs::create_directories(place);
    checked(::mount(device.c_str(), place.c_str(), "ext4", 0, options.c_str()),
            "mount " + device);
    mountedAt = place;
}

void Disk::unmount()
{
    checked(::umount(mountedAt.c_str()), "umount " + mountedAt.string());
    mountedAt.clear();
}

void Disk::synchronise() const
{
    checked(::syncfs(openDirectory(mountedAt).get()), "syncfs");
}

void Disk::cutPower() const
{
    uint32_t how = withoutFlushingTheLog;
    checked(::ioctl(openDirectory(mountedAt).get(), shutdownRequest, &how),
            "shutting ext4 down");
}

} // namespace torture
