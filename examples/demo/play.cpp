// SPDX-License-Identifier: Apache-2.0
#include "play.hpp"

#include "one_line.hpp"

#include <algorithm>

namespace demo
{

namespace
{

using Lines = std::vector<std::string>;

void show(Report& report, const char* place, const Lines& lines)
{
    for (const auto& line : lines)
    {
        report.show(place, line);
    }
}

void show(Report& report, const Change& change)
{
    report.show("disk", change.summary);
    for (const auto& line : change.lines)
    {
        report.showChangedLine(line);
    }
}

/** A step while it is played. */
class Play
{
  public:
    Play(Stage& ofStage, Report& ofReport, ScenarioResult& ofResult,
         std::size_t number) :
        stage(ofStage), report(ofReport), result(ofResult), stepNumber(number)
    {
    }

    void run(const Step& step)
    {
        report.beginStep(stepNumber, step.title);
        if (step.before)
        {
            step.before(stage);
        }
        compare("service", step.answer, ask(step.request));
        compare("disk", step.files, lookAtDisk());
        compare("bus", step.calls, lookAtBus());
        compare("journal", step.log, lookAtJournal());
        for (const auto& check : step.checks)
        {
            const std::string seen = check.look(stage);
            report.show(check.place, seen);
            add(check.place, check.expected, seen);
        }
        report.endStep(comparisons);
        result.comparisons.insert(result.comparisons.end(), comparisons.begin(),
                                  comparisons.end());
    }

  private:
    Lines ask(const std::string& request)
    {
        if (request.empty())
        {
            return {};
        }
        report.show("request", request);
        Lines answer = stage.service.ask(request);
        show(report, "service", answer);
        return answer;
    }

    Lines lookAtDisk()
    {
        Lines summaries;
        for (const auto& change : stage.takeChanges())
        {
            show(report, change);
            summaries.push_back(change.summary);
        }
        return summaries;
    }

    Lines lookAtBus()
    {
        Lines calls = stage.takeCalls();
        show(report, "bus", folded(calls));
        result.calls.insert(result.calls.end(), calls.begin(), calls.end());
        return calls;
    }

    Lines lookAtJournal()
    {
        Lines log = stage.takeLog();
        show(report, "journal", log);
        result.log.insert(result.log.end(), log.begin(), log.end());
        return log;
    }

    /** Adds a comparison for each entry of the longer list. */
    void compare(const char* place, Lines expected, Lines seen)
    {
        const auto count = std::max(expected.size(), seen.size());
        expected.resize(count, "nothing more");
        seen.resize(count, "nothing more");
        for (std::size_t i = 0; i < count; ++i)
        {
            add(place, expected[i], seen[i]);
        }
    }

    void add(const std::string& place, const std::string& expected,
             const std::string& seen)
    {
        comparisons.push_back({stepNumber, place, expected, seen});
    }

    Stage& stage;
    Report& report;
    ScenarioResult& result;
    std::size_t stepNumber;
    std::vector<Comparison> comparisons;
};

} // namespace

ScenarioResult play(const Scenario& scenario, const Cast& cast, Report& report,
                    std::size_t firstStep)
{
    ScenarioResult result;
    Stage stage(cast);
    report.beginScenario(scenario.title);
    std::size_t number = firstStep;
    for (const auto& step : scenario.steps)
    {
        Play(stage, report, result, number++).run(step);
    }
    result.comparisons.push_back(
        {number - 1, "service", "ends with status 0",
         "ends with status " + std::to_string(stage.service.end())});
    result.disk = stage.disk();
    return result;
}

} // namespace demo
