// SPDX-License-Identifier: Apache-2.0
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
    /** A line or two for each step, and the totals. */
    brief,
    /** Everything that is seen, and a table of what was expected. */
    everything
};

/** Prints the progress of the demo on standard output, for people. */
class Report
{
  public:
    explicit Report(Detail ofReport);

    void begin(const std::string& title);
    void beginScenario(const std::string& title);
    void beginStep(std::size_t number, const std::string& title);

    /** Shows something that was seen, after the name of its place. */
    void show(const std::string& place, const std::string& text);
    /** A line of a changed file, as in Change::lines. */
    void showChangedLine(const std::string& line);
    /** Ends a step and shows what was not as expected. */
    void endStep(const std::vector<Comparison>& comparisons);

    /** Ends the demo. */
    void end(const std::vector<Comparison>& comparisons);

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
