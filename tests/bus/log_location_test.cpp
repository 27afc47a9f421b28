// SPDX-License-Identifier: Apache-2.0
#include "support/library_test.hpp"

#include <libfenmarch.hpp>

#include <functional>
#include <set>

namespace
{

using namespace phosphor::software::updater;

class LogLocation : public support::LibraryTest
{
  public:
    FwManager manager{"Host"};
};

/** Bus operations; without services each logs that it failed. */
const std::vector<std::pair<std::string, std::function<void(FwManager&)>>>
    operations = {
        {"setBmcUpdateProgress",
         [](auto& m) { m.setBmcUpdateProgress("x", 1, ""); }},
        {"setBmcVersion", [](auto& m) { m.setBmcVersion("x", "1"); }},
        {"setBmcReleaseDate", [](auto& m) { m.setBmcReleaseDate("x", "1"); }},
        {"setBmcName", [](auto& m) { m.setBmcName("x", "1"); }},
        {"getBmcVersion",
         [](auto& m) {
             std::string version;
             m.getBmcVersion("x", version);
         }},
        {"setFirmwareUpdateProgress",
         [](auto& m) { m.setFirmwareUpdateProgress("x", 1, ""); }},
        {"setFirmwareVersion", [](auto& m) { m.setFirmwareVersion("x", "1"); }},
        {"setFirmwareReleaseDate",
         [](auto& m) { m.setFirmwareReleaseDate("x", "1"); }},
        {"setFirmwareName", [](auto& m) { m.setFirmwareName("x", "1"); }},
        {"getFirmwareVersion",
         [](auto& m) {
             std::string version;
             m.getFirmwareVersion("x", version);
         }},
        {"disablePowerOp", [](auto& m) { m.disablePowerOp(); }},
        {"enablePowerOp", [](auto& m) { m.enablePowerOp(); }},
        {"initUpdateOption", [](auto& m) { m.initUpdateOption({}); }},
        {"readOption", [](auto& m) { m.readOption(); }},
        {"deleteVersion", [](auto& m) { m.deleteVersion("Staged", 65535); }},
};

TEST_F(LogLocation, NamesTheOperationThatFailed)
{
    logged();
    std::set<std::string> places;
    for (const auto& [name, run] : operations)
    {
        run(manager);
        const auto records = loggedWhole();
        EXPECT_FALSE(records.empty()) << name;
        for (const auto& record : records)
        {
            EXPECT_NE(record.at("CODE_FUNC").find("FwManager::" + name + "("),
                      std::string::npos)
                << record.at("CODE_FUNC");
        }
        places.insert(records.back().at("CODE_FILE") + ":" +
                      records.back().at("CODE_LINE"));
    }
    EXPECT_EQ(places.size(), operations.size());
}

} // namespace
