// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <systemd/sd-bus.h>

#include <string>

namespace support
{

/**
 * Message bodies as text, in the form of busctl: values in the order of the
 * signature with spaces between; strings in quotes with C escapes; an array as
 * its number of elements and the elements; a variant as its signature and its
 * value. `"a.b.Interface" "Property" as 2 "x" "y"`, for instance, is a body of
 * the signature "ssv".
 */

/** The text of the whole body, from its beginning.
 *  @throws std::system_error when the message cannot be read */
std::string bodyText(sd_bus_message* message);

/** Reads only the next value and returns its text. */
std::string nextValueText(sd_bus_message* message);

/**
 * Appends values read from their text; a string of one word may go without
 * its quotes.
 * @throws std::invalid_argument when the text does not fit the signature
 */
void appendText(sd_bus_message* message, const std::string& signature,
                const std::string& text);

/** A string in quotes, as in such a text. */
std::string quoted(const std::string& string);

} // namespace support
