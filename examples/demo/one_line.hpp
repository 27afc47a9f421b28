// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/fake_services.hpp"
#include "support/journal_record.hpp"

#include <string>
#include <vector>

namespace demo
{

/** The text with `~` for every `xyz.openbmc_project.` and every
 *  `/xyz/openbmc_project`. */
std::string shortened(std::string text);

/**
 * A call in one line: the service, the object, and the method with its
 * arguments. Of the calls to properties only `Set` or `Get` is left of the
 * method: `~State.Host ~/chassis/buttons/power Set ~Chassis.Buttons
 * ButtonMasked b true`. Shortened as above.
 */
std::string oneLine(const support::RecordedCall& call);

/** A log record in one line: `error: ` or `info: ` (another priority by its
 *  number) and the message. */
std::string oneLine(const support::JournalRecord& record);

/** Joins neighbouring lines that differ only in their last word to one line
 *  with all the last words: `Progress y 0, 10, 20`. */
std::vector<std::string> folded(const std::vector<std::string>& lines);

} // namespace demo
