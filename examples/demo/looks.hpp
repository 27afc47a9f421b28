// SPDX-License-Identifier: Apache-2.0

/** The checks that a step can end with. */
#pragma once

#include "scenario.hpp"

#include <string>

namespace demo
{

/** The property of an object on the bus is this, as busctl prints it: for
 *  instance `b true`. */
Check property(const std::string& path, const std::string& name,
               const std::string& value);

/** The state file has this record for the firmware. */
Check record(const std::string& firmware, const std::string& key,
             const std::string& value);

/** The state file holds exactly this: JSON without blanks, with the members in
 *  the order of the file. */
Check stateFile(const std::string& text);

/** The file holds this text to the last byte; line ends are shown as `\n`. */
Check file(const std::string& path, const std::string& text);

/** There is no such file. */
Check noFile(const std::string& path);

/** This firmware.tar is byte by byte the file that was in the other directory
 *  before the step. Both directories are in /usr/share/firmware. */
Check imageMoved(const std::string& from, const std::string& to);

/** The state file has no such record, or there is no state file. */
Check noRecord(const std::string& firmware, const std::string& key);

} // namespace demo
