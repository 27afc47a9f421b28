#pragma once

#include <map>
#include <string>
#include <string_view>

namespace support
{

/** One record as it reached the journal: every field by its name. */
using JournalRecord = std::map<std::string, std::string>;

/** The field, impossible in the journal, by which a record says that it is
 *  not what the journal accepts; the value says why. The fields before the
 *  fault stand beside it. */
inline constexpr const char* malformedField = "malformed";

/** Reads one datagram in the journal's native format: `KEY=value` lines, and
 *  for any bytes `KEY`, newline, their count in 64 little-endian bits, the
 *  bytes, newline. */
JournalRecord parseJournalRecord(std::string_view datagram);

} // namespace support
