// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../os/descriptor.hpp"

#include <string>
#include <string_view>

namespace ostrel
{

/**
 * The new content of a file, written to the disk beside it as `<file>.tmp`
 * and not yet in its place. Destroyed without a commit, it leaves the old file
 * as it was and no temporary.
 *
 * The name of the temporary is always the same, so the caller holds a lock;
 * one that a crash left behind is cleared by the next.
 */
class StagedFile
{
  public:
    /**
     * Writes and synchronises the temporary with mode and owner of the old
     * file. A file that is a symbolic link stands for its target. The missing
     * directories of a new file are created, and stay.
     *
     * @throws std::system_error with EBUSY when the file is a mount point, or
     *         with what stands in the way of writing
     */
    StagedFile(const std::string& file, std::string_view content);
    ~StagedFile();

    StagedFile(StagedFile&&) = delete;

    /**
     * Puts the new content in place, in one step and lasting.
     * @throws std::system_error; the old file stands then, unless all that
     *         failed was to synchronise the directory
     */
    void commit();

  private:
    explicit StagedFile(const std::string& target);

    [[nodiscard]] os::Descriptor create(mode_t mode) const;
    void write(std::string_view content) const;

    std::string name;
    std::string temporaryName;
    os::Descriptor directory;
    bool placed = false;
};

} // namespace ostrel
