// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace demo
{

enum class Tone
{
    plain,
    strong,
    faint,
    good,
    bad
};

/** The abilities of standard output. */
class Terminal
{
  public:
    Terminal();

    /** The width of the terminal, between 40 and 120; without a terminal 80. */
    std::size_t width() const;

    /** The text in colour, but only on a terminal and without NO_COLOR. */
    std::string toned(Tone tone, const std::string& text) const;

  private:
    bool coloured;
    std::size_t columns;
};

/** The text in lines of at most this many columns, broken at blanks if
 *  possible; at least one line. */
std::vector<std::string> wrapped(const std::string& text, std::size_t columns);

/** The text with blanks added up to this width. */
std::string padded(std::string text, std::size_t columns);

} // namespace demo
