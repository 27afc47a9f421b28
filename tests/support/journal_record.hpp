// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace support
{

/** One record as it reached the journal: every field by its name. */
using JournalRecord = std::map<std::string, std::string>;

/** A field that marks a record which the journal would not accept; its value is
 *  the reason. The journal itself cannot have a field of this name. The record
 *  also has the fields before the fault. */
inline constexpr const char* malformedField = "malformed";

/** Reads one datagram in the journal's native format: `KEY=value` lines, and
 *  for any bytes `KEY`, newline, their count in 64 little-endian bits, the
 *  bytes, newline. */
JournalRecord parseJournalRecord(std::string_view datagram);

} // namespace support
