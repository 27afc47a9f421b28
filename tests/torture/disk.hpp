#pragma once

#include <filesystem>
#include <string>

namespace torture
{

/**
 * An ext4 file system on a loop device, of which the power can be cut: what
 * has not reached the device by then is lost.
 */
class Disk
{
  public:
    /** Whether this process has the rights and the devices that one takes. */
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

    /** From now on nothing reaches the device any more, and what is waiting
     *  for it is lost, also what the journal has not written. */
    void cutPower() const;

  private:
    std::filesystem::path image;
    std::string device;
    std::filesystem::path mountedAt;
};

} // namespace torture
