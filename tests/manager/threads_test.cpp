// SPDX-License-Identifier: Apache-2.0

// Managers of several threads share the files, the bus and the process.

#include "support/library_test.hpp"

#include <libfenmarch.hpp>

#include <future>

namespace
{

using namespace phosphor::software::updater;

constexpr int rounds = 20;

class Threads : public support::BusTest
{
  public:
    Threads()
    {
        support::writeFile(configFile, R"({
            "BMC": {"updateable": "yes", "work_mode": "of the BMC"},
            "Host": {"updateable": "yes", "work_mode": "of the Host"}})");
    }
};

/** A service with a manager of its own; how often it read back what it wrote,
 *  on the disk and on the bus. */
int serve(const std::string& name)
{
    int goodRounds = 0;
    for (int round = 0; round < rounds; ++round)
    {
        FwManager manager(name);
        const std::string version = name + ' ' + std::to_string(round);
        std::string published;
        const bool good = manager.getWorkMode() == "of the " + name &&
                          manager.saveVersion("Active", round, version) == 0 &&
                          manager.getVersion("Active", round) == version &&
                          manager.setFirmwareVersion(name, version) == 0 &&
                          manager.getFirmwareVersion(name, published) == 0 &&
                          published == version;
        goodRounds += good ? 1 : 0;
    }
    return goodRounds;
}

TEST_F(Threads, WithManagersOfTheirOwnDoNotDisturbEachOther)
{
    auto bmc = std::async(std::launch::async, serve, "BMC");
    auto host = std::async(std::launch::async, serve, "Host");
    EXPECT_EQ(bmc.get(), rounds);
    EXPECT_EQ(host.get(), rounds);

    EXPECT_EQ(logged().size(), 2U * rounds);
    for (const std::string name : {"BMC", "Host"})
    {
        FwManager manager(name);
        EXPECT_EQ(manager.getVersion("Active", 0), name + " 0");
        EXPECT_EQ(manager.getVersion("Active", rounds - 1), name + " 19");
    }
}

} // namespace
