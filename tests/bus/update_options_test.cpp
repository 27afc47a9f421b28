// SPDX-License-Identifier: Apache-2.0
#include "support/library_test.hpp"

#include <libfenmarch.hpp>
#include <sdbusplus/exception.hpp>

namespace
{

using namespace phosphor::software::updater;
using support::Answer;
using support::errorRecord;
using support::getCall;
using support::Property;
using support::setCall;

constexpr auto biosObject = "/xyz/openbmc_project/software/update_option/BIOS";

Property option(const std::string& path, const std::string& name)
{
    return {"xyz.openbmc_project.Settings", path,
            "xyz.openbmc_project.Software.UpdateOption", name};
}

class UpdateOptions : public support::BusTest
{
  public:
    FwManager host{"Host"};
};

TEST_F(UpdateOptions, ArePublishedAndTheRequestIsCleared)
{
    EXPECT_EQ(host.initUpdateOption({"Preserve", "", "a b"}), 0);
    EXPECT_EQ(services.takeCalls(),
              (std::vector{
                  setCall(option(biosObject, "AvailableOptions"),
                          "as 3 \"Preserve\" \"\" \"a b\""),
                  setCall(option(biosObject, "RequestedOption"), "s \"\"")}));
    EXPECT_TRUE(logged().empty());
}

TEST_F(UpdateOptions, EmptyListIsPublishedAndTheRequestIsCleared)
{
    services.setProperty(biosObject, "RequestedOption", "s", "old");
    EXPECT_EQ(host.initUpdateOption({}), 0);
    EXPECT_EQ(services.property(biosObject, "AvailableOptions"), "as 0");
    EXPECT_EQ(services.property(biosObject, "RequestedOption"), "s \"\"");
}

TEST_F(UpdateOptions, OnlyTheNameHostIsMapped)
{
    for (const auto& [name, object] : {std::pair{"Host", "BIOS"},
                                       {"BIOS", "BIOS"},
                                       {"host", "host"},
                                       {"Host2", "Host2"},
                                       {"BMC", "BMC"}})
    {
        host.name = name;
        EXPECT_EQ(host.readOption(), "");
        const std::string path =
            "/xyz/openbmc_project/software/update_option/" +
            std::string(object);
        EXPECT_EQ(services.takeCalls(),
                  std::vector{getCall(option(path, "RequestedOption"))});
    }
}

TEST_F(UpdateOptions, RequestIsRead)
{
    services.setProperty(biosObject, "RequestedOption", "s", "Preserve");
    EXPECT_EQ(host.readOption(), "Preserve");
    EXPECT_EQ(host.initUpdateOption({"Preserve"}), 0);
    EXPECT_EQ(host.readOption(), "");
    EXPECT_TRUE(logged().empty());
}

TEST_F(UpdateOptions, RequestOfAnotherTypeReadsAsEmpty)
{
    services.answer(biosObject, "RequestedOption", Answer::value("i", "7"));
    EXPECT_EQ(host.readOption(), "");
    EXPECT_TRUE(logged().empty());
}

TEST_F(UpdateOptions, RejectedOptionsLeaveTheRequest)
{
    services.setProperty(biosObject, "RequestedOption", "s", "kept");
    services.answer(biosObject, "AvailableOptions",
                    Answer::error("a.b.Error", "no"));
    EXPECT_EQ(host.initUpdateOption({"x"}), -1);
    EXPECT_EQ(services.takeCalls().size(), 1U);
    EXPECT_EQ(services.property(biosObject, "RequestedOption"), "s \"kept\"");
    EXPECT_EQ(
        logged(),
        std::vector{errorRecord(
            "Init Host available options failed: sd_bus_call: a.b.Error: no",
            "Init {PURPOSE} available options failed: {ERROR}",
            {{"PURPOSE", "Host"}, {"ERROR", "sd_bus_call: a.b.Error: no"}})});
}

TEST_F(UpdateOptions, RejectedRequestLeavesTheOptions)
{
    services.answer(biosObject, "RequestedOption",
                    Answer::error("a.b.Error", "no"));
    EXPECT_EQ(host.initUpdateOption({"x"}), -1);
    EXPECT_EQ(services.property(biosObject, "AvailableOptions"), "as 1 \"x\"");
    EXPECT_EQ(
        logged(),
        std::vector{errorRecord(
            "Init Host requested option failed: sd_bus_call: a.b.Error: no",
            "Init {PURPOSE} requested option failed: {ERROR}",
            {{"PURPOSE", "Host"}, {"ERROR", "sd_bus_call: a.b.Error: no"}})});
}

TEST_F(UpdateOptions, RequestThatCannotBeReadIsLogged)
{
    services.answer(biosObject, "RequestedOption",
                    Answer::error("a.b.Error", "no"));
    EXPECT_EQ(host.readOption(), "");
    EXPECT_EQ(
        logged(),
        std::vector{errorRecord(
            "Read Host requested option failed: sd_bus_call: a.b.Error: no",
            "Read {PURPOSE} requested option failed: {ERROR}",
            {{"PURPOSE", "Host"}, {"ERROR", "sd_bus_call: a.b.Error: no"}})});
}

TEST_F(UpdateOptions, ReplyThatCannotBeReadIsLogged)
{
    services.answer(biosObject, "RequestedOption",
                    Answer::body("s", "\"no variant\""));
    EXPECT_EQ(host.readOption(), "");
    const auto records = logged();
    ASSERT_EQ(records.size(), 1U);
    EXPECT_TRUE(records[0].at("MESSAGE").starts_with(
        "Read Host requested option failed: sd_bus_message_skip variant: "))
        << records[0].at("MESSAGE");
}

TEST_F(UpdateOptions, NameThatGivesNoPathLeavesAsAnException)
{
    FwManager manager("no path");
    logged();
    EXPECT_THROW(manager.initUpdateOption({"x"}),
                 sdbusplus::exception::SdBusError);
    EXPECT_THROW(manager.readOption(), sdbusplus::exception::SdBusError);
    EXPECT_TRUE(logged().empty());
    EXPECT_TRUE(services.takeCalls().empty());
}

using UpdateOptionsWithoutServices = support::LibraryTest;

TEST_F(UpdateOptionsWithoutServices, AbsentServiceIsLogged)
{
    FwManager manager("BMC");
    EXPECT_EQ(manager.initUpdateOption({"x"}), -1);
    EXPECT_EQ(manager.readOption(), "");
    const auto records = logged();
    ASSERT_EQ(records.size(), 2U);
    for (const auto& record : records)
    {
        EXPECT_EQ(record.at("PURPOSE"), "BMC");
        EXPECT_TRUE(record.at("ERROR").starts_with(
            "sd_bus_call: org.freedesktop.DBus.Error.ServiceUnknown: "))
            << record.at("ERROR");
    }
}

} // namespace
