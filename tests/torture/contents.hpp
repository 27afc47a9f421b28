// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace torture
{

/** Texts by their names in the outcomes. */
using Names = std::map<std::string, std::string>;

/** The name of a text, or "torn: " and its start if it is not one of them. */
std::string nameOf(const std::string& content, const Names& names);

/** The name of what a file holds; "none" where there is no file. */
std::string lookAtFile(const std::filesystem::path& file, const Names& names);

/** Empties a directory, also where it is a mount point, or makes it. */
void clear(const std::filesystem::path& directory);

/** A configuration of the firmware "BMC" with its backup in /run/backup. */
void writeConfiguration();

} // namespace torture
