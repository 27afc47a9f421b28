// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../os/descriptor.hpp"

#include <string>

namespace ostrel
{

/** Holds the exclusive flock(2) of a lock file, from construction on. */
class LockFile
{
  public:
    /**
     * Creates the file and its directories where they are missing, and waits
     * without limit for the lock.
     * @throws std::system_error
     */
    explicit LockFile(const std::string& path);
    ~LockFile();

    LockFile(LockFile&&) = delete;

  private:
    os::Descriptor file;
};

} // namespace ostrel
