// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace fuzz
{

/** A file without a directory: quick, and gone with the process. */
class MemoryFile
{
  public:
    /** @throws std::system_error, as all below */
    MemoryFile();
    ~MemoryFile();

    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    /** What opens it, in this process. */
    [[nodiscard]] const std::string& path() const;

    /** Replaces the content. */
    void write(std::string_view content);

    [[nodiscard]] std::string read() const;

  private:
    int descriptor;
    std::string name;
};

} // namespace fuzz
