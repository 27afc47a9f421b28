// SPDX-License-Identifier: Apache-2.0
#include "staged_file.hpp"

#include "../os/directories.hpp"
#include "../os/files.hpp"
#include "../os/transfer.hpp"
#include "errors.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <cstdio>
#include <optional>
#include <utility>

namespace ostrel
{

namespace
{

constexpr mode_t newFileMode = 0644;
constexpr mode_t ownerOnlyMode = 0600;
constexpr mode_t directoryMode = 0755;
constexpr mode_t permissionBits = 07777;

/** Where a symbolic link leads; nothing when the file is not a link. */
std::optional<std::string> targetOf(const std::string& link)
{
    std::array<char, PATH_MAX> target{};
    const ssize_t length =
        ::readlink(link.c_str(), target.data(), target.size());
    if (length == -1)
    {
        // Nothing else shows that the file is no link.
        require(errno == EINVAL || errno == ENOENT, errno);
        return std::nullopt;
    }
    return std::string(target.data(), static_cast<size_t>(length));
}

/** The file that a chain of symbolic links ends at, existing or not. */
std::string followLinks(std::string file)
{
    // The kernel's own limit.
    constexpr int mostLinks = 40;
    for (int links = 0; links <= mostLinks; ++links)
    {
        const auto target = targetOf(file);
        if (!target)
        {
            return file;
        }
        const bool isRelative = !target->starts_with('/');
        file = (isRelative ? os::directoryOf(file) + '/' : "") + *target;
    }
    fail(ELOOP);
}

os::Descriptor openOrCreateDirectory(const std::string& path)
{
    constexpr int flags = O_RDONLY | O_DIRECTORY;
    os::Descriptor directory = os::openAtOnce(path, flags);
    if (directory.isOpen() || errno != ENOENT)
    {
        return check(std::move(directory));
    }
    const int error =
        os::createDirectories(path, directoryMode, os::Lasting::yes);
    require(error == 0, error);
    return check(os::openAtOnce(path, flags));
}

/** Mode and owner of the file that is to be replaced, if there is one. */
std::optional<struct statx> replaceableFile(int directory,
                                            const std::string& name)
{
    struct statx status = {};
    if (::statx(directory, name.c_str(), AT_SYMLINK_NOFOLLOW,
                STATX_MODE | STATX_UID | STATX_GID, &status) == -1)
    {
        require(errno == ENOENT, errno);
        return std::nullopt;
    }
    // Reported now: the rename would refuse it too late.
    require((status.stx_attributes & STATX_ATTR_MOUNT_ROOT) == 0, EBUSY);
    return status;
}

void keepModeAndOwner(int file, const struct statx& old)
{
    check(::fchown(file, old.stx_uid, old.stx_gid));
    // After the owner, whose change clears the set-id bits.
    check(::fchmod(file, old.stx_mode & permissionBits));
}

} // namespace

StagedFile::StagedFile(const std::string& file, std::string_view content) :
    StagedFile(followLinks(file))
{
    // From here on the destructor clears up.
    write(content);
}

StagedFile::StagedFile(const std::string& target) :
    name(target.substr(target.rfind('/') + 1)),
    temporaryName(name + ".tmp"),
    directory(openOrCreateDirectory(os::directoryOf(target)))
{
    require(!name.empty(), EISDIR);
}

StagedFile::~StagedFile()
{
    if (!placed)
    {
        ::unlinkat(directory.get(), temporaryName.c_str(), 0);
    }
}

os::Descriptor StagedFile::create(mode_t mode) const
{
    const auto attempt = [&] {
        constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
        return os::Descriptor(
            ::openat(directory.get(), temporaryName.c_str(), flags, mode));
    };
    os::Descriptor file = attempt();
    if (file.isOpen() || errno != EEXIST)
    {
        return check(std::move(file));
    }
    // One that a crash left behind; removed instead of opened, so that a link
    // planted in its place is not followed.
    ::unlinkat(directory.get(), temporaryName.c_str(), 0);
    return check(attempt());
}

void StagedFile::write(std::string_view content) const
{
    const auto old = replaceableFile(directory.get(), name);

    const os::Descriptor file = create(old ? ownerOnlyMode : newFileMode);
    if (old)
    {
        keepModeAndOwner(file.get(), *old);
    }
    if (!os::writeAll(file.get(), content))
    {
        fail(errno);
    }
    check(::fsync(file.get()));
}

void StagedFile::commit()
{
    check(::renameat(directory.get(), temporaryName.c_str(), directory.get(),
                     name.c_str()));
    placed = true;
    check(::fsync(directory.get()));
}

} // namespace ostrel
