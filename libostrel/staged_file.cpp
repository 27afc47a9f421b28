#include "staged_file.hpp"

#include "../os/transfer.hpp"
#include "directories.hpp"
#include "errors.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <cstdio>
#include <optional>

namespace ostrel
{

namespace
{

namespace fs = std::filesystem;

constexpr mode_t newFileMode = 0644;
constexpr mode_t ownerOnlyMode = 0600;
constexpr mode_t permissionBits = 07777;

/** Where a symbolic link leads; nothing when there is no link. Not by
 *  std::filesystem, which reads the times of the link first: where they do not
 *  fit into its time_t (a date after 2038 in 32 bits), it fails. */
std::optional<fs::path> targetOf(const fs::path& link)
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
    return fs::path(target.data(), target.data() + length);
}

/** The file that a chain of symbolic links ends at, existing or not. */
fs::path followLinks(fs::path file)
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
        file = file.parent_path() / *target;
    }
    fail(ELOOP);
}

os::Descriptor openOrCreateDirectory(const fs::path& path)
{
    try
    {
        return openDirectory(path);
    }
    catch (const std::system_error& e)
    {
        require(e.code().value() == ENOENT, e.code().value());
    }
    createDirectories(path, Lasting::yes);
    return openDirectory(path);
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
    // Told now, because the rename could only refuse it when it is too late.
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

StagedFile::StagedFile(const fs::path& file, std::string_view content) :
    StagedFile(followLinks(file))
{
    // From here on the destructor clears up.
    write(content);
}

StagedFile::StagedFile(const fs::path& target) :
    name(target.filename()),
    temporaryName(name + ".tmp"),
    directory(openOrCreateDirectory(target.parent_path()))
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

void StagedFile::write(std::string_view content) const
{
    const auto old = replaceableFile(directory.get(), name);

    // One that a crash left behind; removed instead of opened, so that a link
    // planted in its place is not followed.
    ::unlinkat(directory.get(), temporaryName.c_str(), 0);
    const os::Descriptor file(
        check(::openat(directory.get(), temporaryName.c_str(),
                       O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                       old ? ownerOnlyMode : newFileMode)));
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
