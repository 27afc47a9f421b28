// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace torture
{

/**
 * An ext4 file system on a loop device whose power can be cut: data that has
 * not reached the device by then is lost.
 */
class Disk
{
  public:
    /** Whether this process has the rights and the devices for a disk. */
    static bool canBeMade();

    /** @throws std::runtime_error where there is no loop device or no ext4 */
    Disk();
    ~Disk();

    Disk(const Disk&) = delete;
    Disk& operator=(const Disk&) = delete;

    /** Mounts it here with these options of ext4; one place at a time. */
    void mount(const std::filesystem::path& place, const std::string& options);
    void unmount();

    /** Waits until all that was written is on the device. */
    void synchronise() const;

    /** From now on nothing reaches the device. Data that has not been written
     *  yet is lost, and so is what the file system's journal still holds. */
    void cutPower() const;

  private:
    std::filesystem::path image;
    std::string device;
    std::filesystem::path mountedAt;
};

} // namespace torture
