// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>

namespace support
{

/** A file system that a test mounts; the destructor unmounts it. In place, a
 *  test is skipped if the machine does not allow it to mount. */
class Mount
{
  public:
    /** A tmpfs of this size. */
    static Mount tmpfs(const std::filesystem::path& point,
                       std::size_t sizeBytes);
    /** The file or directory mounted on itself. */
    static Mount onItself(const std::filesystem::path& point);

    ~Mount();
    Mount(Mount&& other) noexcept;
    Mount& operator=(Mount&&) = delete;

    void makeReadOnly() const;

  private:
    explicit Mount(std::filesystem::path mountPoint);

    std::filesystem::path point;
};

} // namespace support
