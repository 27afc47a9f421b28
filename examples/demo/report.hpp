#pragma once

#include "table.hpp"
#include "terminal.hpp"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace demo
{

/** Writes the course of the demo to standard output, for people. */
class Report
{
  public:
    void beginScenario(const std::string& title);
    void beginStep(std::size_t number, const std::string& title);

    /** Something seen, under the name of where it was seen. */
    void show(const std::string& place, const std::string& text,
              Tone tone = Tone::plain);
    /** A line of a changed file, as in Change::lines. */
    void showChangedLine(const std::string& line);
    /** Draws the bar anew on a terminal; elsewhere it is drawn once, as it
     *  stands when something else is shown. */
    void showProgress(int percent);

    /** Ends a step: what in it was not as expected. */
    void endStep(const std::vector<Row>& rows);

    /** Ends the demo. */
    void showTable(const std::vector<Row>& rows);

  private:
    void finishBar();

    Terminal terminal;
    std::optional<int> barPercent;
};

} // namespace demo
