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

/** What standard output can show. */
class Terminal
{
  public:
    Terminal();

    /** The columns of the terminal, between 40 and 120; otherwise 80. */
    std::size_t width() const;

    /** The text in colour, but only on a terminal, and not with NO_COLOR. */
    std::string toned(Tone tone, const std::string& text) const;

  private:
    bool coloured;
    std::size_t columns;
};

/** The text in lines of at most this many columns, broken at blanks where there
 *  are any; at least one line. */
std::vector<std::string> wrapped(const std::string& text, std::size_t columns);

/** The text filled up with blanks. */
std::string padded(std::string text, std::size_t columns);

} // namespace demo
