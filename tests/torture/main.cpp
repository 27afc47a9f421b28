// SPDX-License-Identifier: Apache-2.0

/**
 * Tests the library under the faults of real machines:
 *
 *   torture [--require-all] [--quick] [--sabotage MECHANISM] [EXPERIMENT...]
 *   torture [--require-all] --prove [EXPERIMENT...]
 *   torture --list
 *
 * An experiment is skipped if this machine cannot run it. With --require-all
 * that is a failure.
 *
 * Exit status: 0 if nothing was lost, 1 if something was lost (with --prove:
 * if a broken mechanism was not noticed), 2 if it could not be run.
 */
#include "experiment.hpp"
#include "support/sandbox.hpp"

#include <algorithm>
#include <chrono>
#include <exception>
#include <iomanip>
#include <iostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace
{

using namespace torture;

constexpr int held = 0;
constexpr int lost = 1;
constexpr int notRun = 2;

struct Arguments
{
    Plan plan;
    bool list = false;
    bool prove = false;
    /** An experiment that is skipped counts as failed. */
    bool requireAll = false;
    std::vector<Experiment> chosen;
};

void choose(Arguments& arguments, const std::string& name)
{
    const auto known =
        std::ranges::find(experiments(), name, &Experiment::name);
    if (known == experiments().end())
    {
        throw std::invalid_argument("no experiment " + name);
    }
    arguments.chosen.push_back(*known);
}

void keepThoseThatKnow(std::vector<Experiment>& chosen,
                       const std::string& sabotage)
{
    std::erase_if(chosen, [&](const Experiment& experiment) {
        return !sabotage.empty() &&
               std::ranges::find(experiment.sabotages, sabotage) ==
                   experiment.sabotages.end();
    });
    if (chosen.empty())
    {
        throw std::invalid_argument("no sabotage " + sabotage);
    }
}

Arguments readArguments(const std::vector<std::string>& words)
{
    Arguments arguments;
    for (auto word = words.begin(); word != words.end(); ++word)
    {
        if (*word == "--quick")
        {
            arguments.plan.quick = true;
        }
        else if (*word == "--list")
        {
            arguments.list = true;
        }
        else if (*word == "--prove")
        {
            arguments.prove = true;
        }
        else if (*word == "--require-all")
        {
            arguments.requireAll = true;
        }
        else if (*word == "--sabotage" && word + 1 != words.end())
        {
            arguments.plan.sabotage = *++word;
        }
        else
        {
            choose(arguments, *word);
        }
    }
    if (arguments.chosen.empty())
    {
        arguments.chosen = experiments();
    }
    keepThoseThatKnow(arguments.chosen, arguments.plan.sabotage);
    return arguments;
}

void list(const std::vector<Experiment>& chosen)
{
    for (const auto& experiment : chosen)
    {
        std::cout << experiment.name << ": " << experiment.claim << '\n';
        for (const auto& sabotage : experiment.sabotages)
        {
            std::cout << "    --sabotage " << sabotage << '\n';
        }
    }
}

void printHeader()
{
    std::cout << "experiment                      lost     s  figures"
              << std::endl;
}

/** Prints the experiments that cannot run here. @return the others */
std::vector<Experiment> runnable(const Arguments& arguments)
{
    const auto* const verdict =
        arguments.requireAll ? "cannot be run: " : "skipped: ";
    std::vector<Experiment> kept;
    for (const auto& experiment : arguments.chosen)
    {
        const auto missing = experiment.missing();
        if (missing.empty())
        {
            kept.push_back(experiment);
            continue;
        }
        std::cout << std::left << std::setw(31) << experiment.name << ' '
                  << verdict << missing << std::endl;
    }
    return kept;
}

/** Runs an experiment and prints its row of the table. */
void run(const Experiment& experiment, const Plan& plan, Report& report)
{
    const auto start = std::chrono::steady_clock::now();
    experiment.run(plan, report);
    const std::chrono::duration<double> took =
        std::chrono::steady_clock::now() - start;
    const auto name = std::string(experiment.name) +
                      (plan.sabotage.empty() ? "" : ", " + plan.sabotage);
    std::cout << std::left << std::setw(31) << name << std::right
              << std::setw(5) << report.losses().size() << std::setw(6)
              << std::fixed << std::setprecision(1) << took.count() << "  "
              << report.figures() << std::endl;
}

/** @return whether the experiment ran to its end */
bool tryToRun(const Experiment& experiment, const Plan& plan, Report& report)
{
    try
    {
        run(experiment, plan, report);
        return true;
    }
    catch (const std::exception& e)
    {
        std::cout << experiment.name << " cannot be run: " << e.what()
                  << std::endl;
        return false;
    }
}

int torment(const Arguments& arguments)
{
    size_t losses = 0;
    size_t passed = 0;
    size_t failed = 0;
    printHeader();
    const auto chosen = runnable(arguments);
    for (const auto& experiment : chosen)
    {
        Report report;
        const bool ran = tryToRun(experiment, arguments.plan, report);
        losses += report.losses().size();
        ++(ran && report.losses().empty() ? passed : failed);
    }
    size_t skipped = arguments.chosen.size() - chosen.size();
    if (arguments.requireAll)
    {
        failed += std::exchange(skipped, 0);
    }
    std::cout << losses << " lost\n"
              << passed << " passed, " << failed << " failed, " << skipped
              << " skipped" << std::endl;
    return losses > 0 ? lost : failed == 0 && passed > 0 ? held : notRun;
}

/** Each experiment with each of its mechanisms broken, one at a time. */
int prove(const Arguments& arguments)
{
    size_t noticed = 0;
    size_t missed = 0;
    printHeader();
    const auto chosen = runnable(arguments);
    for (const auto& experiment : chosen)
    {
        for (const auto& sabotage : experiment.sabotages)
        {
            Report report;
            run(experiment, {.quick = true, .sabotage = std::string(sabotage)},
                report);
            ++(report.losses().empty() ? missed : noticed);
        }
    }
    std::cout << noticed << " sabotages noticed, " << missed << " missed"
              << std::endl;
    const auto least = arguments.requireAll ? arguments.chosen.size() : 1;
    return missed > 0 ? lost : chosen.size() >= least ? held : notRun;
}

} // namespace

int main(int argc, char** argv)
{
    try
    {
        const auto arguments = readArguments({argv + 1, argv + argc});
        if (arguments.list)
        {
            list(arguments.chosen);
            return held;
        }
        // They write to many places in /run, and mount disks and cut their
        // power.
        if (support::inPlaceIsAskedFor())
        {
            throw std::runtime_error("the experiments do not run in place");
        }
        support::enterSandbox();
        return arguments.prove ? prove(arguments) : torment(arguments);
    }
    catch (const std::exception& e)
    {
        std::cerr << "torture: " << e.what() << '\n';
        return notRun;
    }
}
