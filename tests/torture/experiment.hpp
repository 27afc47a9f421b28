// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace torture
{

/** How an experiment is run. */
struct Plan
{
    /** Runs only a part, small enough for everyday use. */
    bool quick = false;
    /** The mechanism that is broken on purpose; empty for none. */
    std::string sabotage;

    [[nodiscard]] bool breaks(std::string_view mechanism) const
    {
        return sabotage == mechanism;
    }
};

/** What an experiment did and what it found. */
class Report
{
  public:
    /** Adds to a figure of the table, such as "kills". */
    void count(const std::string& figure, size_t howMany = 1);

    /** Records that something happened that must not happen. */
    void loss(const std::string& what);

    [[nodiscard]] const std::vector<std::string>& losses() const
    {
        return found;
    }

    /** The figures in the order of their first count: "20000 kills, ...". */
    [[nodiscard]] std::string figures() const;

  private:
    std::vector<std::pair<std::string, size_t>> counted;
    std::vector<std::string> found;
};

struct Experiment
{
    std::string_view name;
    /** What must hold, in one line. */
    std::string_view claim;
    /** The mechanisms that can be broken; the experiment must notice each. */
    std::vector<std::string_view> sabotages;
    void (*run)(const Plan&, Report&);
    /** What is missing on this machine; empty if the experiment can run. */
    std::string_view (*missing)() = [] { return std::string_view(); };
};

/** All of them, in the order of the table. */
const std::vector<Experiment>& experiments();

} // namespace torture
