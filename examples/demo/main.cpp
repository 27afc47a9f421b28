// SPDX-License-Identifier: Apache-2.0

/**
 * Runs the update service against a simulated BMC:
 *
 *   demo [--verbose] [--keep DIRECTORY] SERVICE CONFIGURATION
 *
 * Exit status: 0 if everything was as expected, 1 if not, 2 if the demo could
 * not be run.
 */
#include "keep.hpp"
#include "play.hpp"
#include "report.hpp"
#include "scenarios.hpp"
#include "support/files.hpp"
#include "support/sandbox.hpp"

#include <exception>
#include <filesystem>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using namespace demo;

constexpr int asExpected = 0;
constexpr int notAsExpected = 1;
constexpr int notRun = 2;

struct Arguments
{
    Cast cast;
    Detail detail = Detail::brief;
    std::optional<Keep> keep;
};

/** Reads and opens the files outside the sandbox. */
Arguments readArguments(std::vector<std::string> words)
{
    Arguments arguments;
    if (std::erase(words, "--verbose") > 0)
    {
        arguments.detail = Detail::everything;
    }
    if (words.size() >= 2 && words[0] == "--keep")
    {
        arguments.keep.emplace(words[1]);
        words.erase(words.begin(), words.begin() + 2);
    }
    if (words.size() != 2)
    {
        throw std::invalid_argument("usage: demo [--verbose] "
                                    "[--keep DIRECTORY] SERVICE CONFIGURATION");
    }
    arguments.cast.service = std::filesystem::canonical(words[0]);
    arguments.cast.configuration = support::readFile(words[1]);
    return arguments;
}

int runDemo(const Arguments& arguments)
{
    support::enterSandbox();
    Report report(arguments.detail);
    report.begin("An update service on a simulated BMC. On the bus, ~ stands "
                 "for xyz.openbmc_project. in names and for "
                 "/xyz/openbmc_project in paths.");
    std::vector<Comparison> comparisons;
    std::size_t nextStep = 1;
    for (const auto& scenario : allScenarios())
    {
        const ScenarioResult result =
            play(scenario, arguments.cast, report, nextStep);
        nextStep += scenario.steps.size();
        comparisons.insert(comparisons.end(), result.comparisons.begin(),
                           result.comparisons.end());
        if (arguments.keep)
        {
            arguments.keep->save(scenario.name, result);
        }
    }
    report.end(comparisons);
    return allAsExpected(comparisons) ? asExpected : notAsExpected;
}

} // namespace

int main(int argc, char** argv)
{
    try
    {
        return runDemo(readArguments({argv + 1, argv + argc}));
    }
    catch (const std::exception& error)
    {
        std::cerr << "demo: " << error.what() << '\n';
        return notRun;
    }
}
