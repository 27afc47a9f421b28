#pragma once

#include "../os/descriptor.hpp"

#include <filesystem>

namespace ostrel
{

/** Whether new directories have to survive a power cut. */
enum class Lasting
{
    no,
    yes
};

/**
 * Creates a directory and its missing parents with mode 0755, less the umask.
 * What exists already is left as it is.
 *
 * @throws std::system_error when one cannot be created or synchronised; those
 *         above it stay
 */
void createDirectories(const std::filesystem::path& directory, Lasting lasting);

/**
 * Opens a directory, to work relative to it and to synchronise it. An empty
 * path is the working directory.
 *
 * @throws std::system_error
 */
[[nodiscard]] os::Descriptor
openDirectory(const std::filesystem::path& directory);

} // namespace ostrel
