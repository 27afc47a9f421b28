// SPDX-License-Identifier: Apache-2.0
#include "disk.hpp"
#include "experiments.hpp"
#include "interruption.hpp"
#include "support/files.hpp"

#include <filesystem>
#include <random>
#include <string>
#include <string_view>

namespace torture
{

namespace
{

using phosphor::software::updater::FwManager;

bool isBroken(const Plan& plan, const SystemCall& call)
{
    if (call.name != "fsync")
    {
        return false;
    }
    const bool ofDirectory = std::filesystem::is_directory(call.path);
    return plan.breaks("no-fsync") ||
           (plan.breaks("no-directory-fsync") && ofDirectory) ||
           (plan.breaks("no-file-fsync") && !ofDirectory);
}

class Cuts
{
  public:
    Cuts(const Operation& examined, std::string mountOptions, const Plan& how,
         Report& to) :
        operation(examined),
        options(std::move(mountOptions)),
        plan(how),
        report(to)
    {
    }

    /** Cuts the power at each call of the operation, and after its end. */
    void run(Disk& disk)
    {
        for (size_t number = 0; cutAt(number, disk); ++number)
        {
        }
    }

  private:
    /** Puts the files before the operation on the device, and leaves other
     *  files not yet written to disk: no two cuts find the journal the same. */
    void prepare(const Disk& disk)
    {
        constexpr size_t mostNoiseBytes = 300'000;
        operation.prepare();
        disk.synchronise();
        support::writeFile(noise(),
                           std::string(random() % mostNoiseBytes, 'x'));
        operation.arrive();
    }

    [[nodiscard]] std::filesystem::path noise() const
    {
        return std::filesystem::path(operation.disk) / "noise";
    }

    /** @return whether there was a call of this number to cut at */
    bool cutAt(size_t number, Disk& disk)
    {
        disk.mount(operation.disk, options);
        prepare(disk);
        const auto cut = interrupt(
            operation, number,
            [&](const SystemCall& call) { return isBroken(plan, call); },
            [&] { disk.cutPower(); });
        disk.unmount();

        disk.mount(operation.disk, options);
        std::filesystem::remove(noise());
        report.count("cuts");
        for (const auto& fault : faultsAfter(operation, cut))
        {
            report.loss(std::string(operation.name) + " (" + options +
                        "), power cut " + cut.moment + ": " + fault);
        }
        disk.unmount();
        return cut.call.has_value();
    }

    const Operation& operation;
    const std::string options;
    const Plan& plan;
    Report& report;
    std::mt19937 random;
};

void run(const Plan& plan, Report& report)
{
    const int rounds = plan.quick ? 1 : 5;
    FwManager("BMC").saveUpdateState("idle");
    Disk disk;
    for (const auto& operation : operations())
    {
        for (const char* options : {"", "noauto_da_alloc"})
        {
            Cuts cuts(operation, options, plan, report);
            for (int round = 0; operation.disk != nullptr && round < rounds;
                 ++round)
            {
                cuts.run(disk);
            }
        }
    }
}

} // namespace

Experiment powerCuts()
{
    return {
        .name = "power-cuts",
        .claim = "after every power cut, files are whole and what was "
                 "acknowledged stays",
        .sabotages = {"no-fsync", "no-file-fsync", "no-directory-fsync"},
        .run = run,
        .missing =
            [] {
                return std::string_view(
                    Disk::canBeMade() ? "" : "needs root and loop devices");
            },
    };
}

} // namespace torture
