#pragma once

#include "table.hpp"
#include "terminal.hpp"

#include <cstddef>
#include <string>
#include <vector>

namespace demo
{

enum class Detail
{
    /** A line or two for each step, and the sum. */
    brief,
    /** All that is seen, and a table of what was expected. */
    everything
};

/** Writes the course of the demo to standard output, for people. */
class Report
{
  public:
    explicit Report(Detail ofReport);

    void begin(const std::string& title);
    void beginScenario(const std::string& title);
    void beginStep(std::size_t number, const std::string& title);

    /** Something seen, under the name of where it was seen. */
    void show(const std::string& place, const std::string& text);
    /** A line of a changed file, as in Change::lines. */
    void showChangedLine(const std::string& line);
    /** Ends a step: what in it was not as expected. */
    void endStep(const std::vector<Row>& rows);

    /** Ends the demo. */
    void end(const std::vector<Row>& rows);

  private:
    void print(const std::string& text) const;
    void print(const std::string& place, const std::string& text,
               Tone tone = Tone::plain) const;
    void printEffects() const;

    /** Something seen in a step. */
    struct Effect
    {
        std::string place;
        std::string text;
    };

    Detail detail;
    Terminal terminal;
    /** In this step. */
    std::vector<Effect> effects;
};

} // namespace demo
