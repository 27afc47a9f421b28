// SPDX-License-Identifier: Apache-2.0
#include "support/library_test.hpp"

#include <libfenmarch.hpp>
#include <sdbusplus/exception.hpp>

#include <functional>

namespace
{

using namespace phosphor::software::updater;
using support::Answer;
using support::errorRecord;
using support::getCall;
using support::setCall;

constexpr auto releaseFile = "/etc/bios-release";
constexpr auto bmcService = "xyz.openbmc_project.Software.BMC.Updater";
constexpr auto firmwareService = "xyz.openbmc_project.Firmware.Updater";
constexpr auto versionInterface = "xyz.openbmc_project.Software.Version";
constexpr auto progressInterface =
    "xyz.openbmc_project.Software.ActivationProgress";

/** What is expected of one writer, given the text "value" or the number 42. */
struct Writer
{
    const char* title;
    std::function<int(FwManager&, const std::string& object)> set;
    const char* service;
    const char* interface;
    const char* property;
    const char* sent;
    const char* failure;
    /** The line in the release file after writing to bios_active. */
    const char* releaseLine;
};

const std::vector<Writer> writers = {
    {"setBmcUpdateProgress",
     [](FwManager& m, const std::string& object) {
         return m.setBmcUpdateProgress(object, 42, "anything");
     },
     bmcService, progressInterface, "Progress", "y 42", "progress", ""},
    {"setBmcVersion",
     [](FwManager& m, const std::string& object) {
         return m.setBmcVersion(object, "value");
     },
     bmcService, versionInterface, "Version", "s \"value\"", "version",
     "VERSION_ID=\"value\"\n"},
    {"setBmcReleaseDate",
     [](FwManager& m, const std::string& object) {
         return m.setBmcReleaseDate(object, "value");
     },
     bmcService, versionInterface, "ReleaseDate", "s \"value\"", "release date",
     "BUILD_DATE=\"value\"\n"},
    {"setBmcName",
     [](FwManager& m, const std::string& object) {
         return m.setBmcName(object, "value");
     },
     bmcService, versionInterface, "Subname", "s \"value\"", "name",
     "NAME=\"value\"\n"},
    {"setFirmwareUpdateProgress",
     [](FwManager& m, const std::string& object) {
         return m.setFirmwareUpdateProgress(object, 42, "");
     },
     firmwareService, progressInterface, "Progress", "y 42", "progress", ""},
    {"setFirmwareVersion",
     [](FwManager& m, const std::string& object) {
         return m.setFirmwareVersion(object, "value");
     },
     firmwareService, versionInterface, "Version", "s \"value\"", "version",
     ""},
    {"setFirmwareReleaseDate",
     [](FwManager& m, const std::string& object) {
         return m.setFirmwareReleaseDate(object, "value");
     },
     firmwareService, versionInterface, "ReleaseDate", "s \"value\"", "version",
     ""},
    {"setFirmwareName",
     [](FwManager& m, const std::string& object) {
         return m.setFirmwareName(object, "value");
     },
     firmwareService, versionInterface, "Subname", "s \"value\"", "subname",
     ""}};

/** The two readers. */
const std::vector<std::pair<
    int (FwManager::*)(const std::string&, std::string&), const char*>>
    readers = {{&FwManager::getBmcVersion, bmcService},
               {&FwManager::getFirmwareVersion, firmwareService}};

class SoftwareObjects : public support::BusTest
{
  public:
    static std::string releaseContent()
    {
        return std::filesystem::exists(releaseFile)
                   ? support::readFile(releaseFile)
                   : "";
    }

    FwManager manager{"Host"};
};

TEST_F(SoftwareObjects, EachWriterSetsItsProperty)
{
    for (const auto& writer : writers)
    {
        EXPECT_EQ(writer.set(manager, "image_1"), 0) << writer.title;
        EXPECT_EQ(services.takeCalls(),
                  std::vector{setCall({writer.service,
                                       "/xyz/openbmc_project/software/image_1",
                                       writer.interface, writer.property},
                                      writer.sent)})
            << writer.title;
        EXPECT_TRUE(logged().empty()) << writer.title;
        EXPECT_EQ(releaseContent(), "") << writer.title;
    }
}

TEST_F(SoftwareObjects, FailedWritersLogTheirMessageAndChangeNothing)
{
    const std::string path = "/xyz/openbmc_project/software/bios_active";
    services.answer(path, "", Answer::error("a.b.Error", "no"));
    for (const auto& writer : writers)
    {
        EXPECT_EQ(writer.set(manager, "bios_active"), -1) << writer.title;
        const std::string what = writer.failure;
        EXPECT_EQ(logged(), std::vector{errorRecord(
                                "Set bios_active " + what +
                                    " failed: sd_bus_call: a.b.Error: no",
                                "Set {NAME} " + what + " failed: {ERROR}",
                                {{"NAME", "bios_active"},
                                 {"ERROR", "sd_bus_call: a.b.Error: no"}})})
            << writer.title;
        EXPECT_EQ(releaseContent(), "") << writer.title;
    }
}

TEST_F(SoftwareObjects, BmcWritersUpdateTheReleaseFileOfTheActiveBios)
{
    for (const auto& writer : writers)
    {
        std::filesystem::remove(releaseFile);
        EXPECT_EQ(writer.set(manager, "bios_active"), 0) << writer.title;
        EXPECT_EQ(releaseContent(), writer.releaseLine) << writer.title;
    }
}

TEST_F(SoftwareObjects, OtherObjectsLeaveTheReleaseFile)
{
    support::writeFile(releaseFile, "VERSION_ID=\"0.9\"\n");
    const auto before = support::statusOf(releaseFile);
    for (const auto& writer : writers)
    {
        for (const auto* const object :
             {"bios_staged", "BIOS_ACTIVE", "bios_active/x", "x/bios_active"})
        {
            EXPECT_EQ(writer.set(manager, object), 0) << writer.title;
        }
    }
    EXPECT_TRUE(support::untouched(before, support::statusOf(releaseFile)));
}

TEST_F(SoftwareObjects, ReleaseFileThatCannotBeWrittenIsIgnored)
{
    std::filesystem::create_directories(releaseFile);
    EXPECT_EQ(manager.setBmcVersion("bios_active", "1.2.3"), 0);
    EXPECT_TRUE(logged().empty());
}

TEST_F(SoftwareObjects, EmptyLineOfTheReleaseFileLeavesAsAnException)
{
    support::writeFile(releaseFile, "\n");
    EXPECT_THROW(manager.setBmcVersion("bios_active", "1.2.3"),
                 std::out_of_range);
    EXPECT_EQ(services.takeCalls().size(), 1U);
}

TEST_F(SoftwareObjects, ReleaseFileCollectsVersionDateAndName)
{
    EXPECT_EQ(manager.setBmcVersion("bios_active", "1.2.3"), 0);
    EXPECT_EQ(manager.setBmcReleaseDate("bios_active", "2024-05-06"), 0);
    EXPECT_EQ(manager.setBmcName("bios_active", "Rome"), 0);
    EXPECT_EQ(releaseContent(), "BUILD_DATE=\"2024-05-06\"\n"
                                "NAME=\"Rome\"\n"
                                "VERSION_ID=\"1.2.3\"\n");
}

TEST_F(SoftwareObjects, ProgressIsNotChecked)
{
    for (const auto& [progress, sent] :
         {std::pair{0, "y 0"}, {100, "y 100"}, {250, "y 250"}, {255, "y 255"}})
    {
        const auto value = static_cast<uint8_t>(progress);
        EXPECT_EQ(manager.setBmcUpdateProgress("x", value, ""), 0);
        EXPECT_EQ(
            services.property("/xyz/openbmc_project/software/x", "Progress"),
            sent);
    }
}

TEST_F(SoftwareObjects, ThirdArgumentOfTheProgressMeansNothing)
{
    for (const auto* const ignored : {"", "text", "\xff"})
    {
        EXPECT_EQ(manager.setBmcUpdateProgress("x", 7, ignored), 0);
        EXPECT_EQ(manager.setFirmwareUpdateProgress("x", 7, ignored), 0);
    }
    const auto calls = services.takeCalls();
    ASSERT_EQ(calls.size(), 6U);
    for (size_t i = 2; i < calls.size(); ++i)
    {
        EXPECT_EQ(calls[i], calls[i % 2]);
    }
}

TEST_F(SoftwareObjects, NameIsAppendedToThePathAsItIs)
{
    EXPECT_EQ(manager.setBmcVersion("deeper/path", "1"), 0);
    const auto calls = services.takeCalls();
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].path, "/xyz/openbmc_project/software/deeper/path");
}

TEST_F(SoftwareObjects, NulEndsATextOnTheBusAndNotInTheReleaseFile)
{
    using namespace std::string_literals;
    EXPECT_EQ(manager.setBmcVersion("bios_active", "1\0002"s), 0);
    EXPECT_EQ(services.property("/xyz/openbmc_project/software/bios_active",
                                "Version"),
              "s \"1\"");
    EXPECT_EQ(releaseContent(), "VERSION_ID=\"1\0002\"\n"s);
}

TEST_F(SoftwareObjects, TextThatIsNotUtf8IsLoggedAndChangesNothing)
{
    EXPECT_EQ(manager.setBmcVersion("bios_active", "\xff"), -1);
    EXPECT_EQ(logged().size(), 1U);
    EXPECT_EQ(releaseContent(), "");
    EXPECT_TRUE(services.takeCalls().empty());
    EXPECT_EQ(manager.setBmcVersion("bios_active", "1.0"), 0);
}

TEST_F(SoftwareObjects, NameThatGivesNoPathLeavesAsAnException)
{
    for (const auto& writer : writers)
    {
        for (const auto* const object : {"", "a b", "x/", "/x"})
        {
            EXPECT_THROW(writer.set(manager, object),
                         sdbusplus::exception::SdBusError)
                << writer.title << " '" << object << '\'';
        }
    }
    for (const auto& [read, service] : readers)
    {
        std::string version = "before";
        EXPECT_THROW((manager.*read)("", version),
                     sdbusplus::exception::SdBusError);
        EXPECT_EQ(version, "before");
    }
    EXPECT_TRUE(logged().empty());
    EXPECT_TRUE(services.takeCalls().empty());
}

TEST_F(SoftwareObjects, ReadersGetTheVersion)
{
    services.setProperty("/xyz/openbmc_project/software/x", "Version", "s",
                         "1.2.3");
    for (const auto& [read, service] : readers)
    {
        std::string version = "before";
        EXPECT_EQ((manager.*read)("x", version), 0);
        EXPECT_EQ(version, "1.2.3");
        EXPECT_EQ(services.takeCalls(),
                  std::vector{getCall(
                      {service, "/xyz/openbmc_project/software/x",
                       "xyz.openbmc_project.Software.Version", "Version"})});
    }
    EXPECT_TRUE(logged().empty());
    EXPECT_EQ(releaseContent(), "");
}

TEST_F(SoftwareObjects, VersionOfAnotherTypeReadsAsEmpty)
{
    services.answer("/xyz/openbmc_project/software/x", "Version",
                    Answer::value("i", "7"));
    for (const auto& [read, service] : readers)
    {
        std::string version = "before";
        EXPECT_EQ((manager.*read)("x", version), 0);
        EXPECT_EQ(version, "");
    }
    EXPECT_TRUE(logged().empty());
}

TEST_F(SoftwareObjects, VersionThatCannotBeReadIsLoggedAndKept)
{
    services.answer("/xyz/openbmc_project/software/x", "Version",
                    Answer::error("a.b.Error", "no"));
    for (const auto& [read, service] : readers)
    {
        std::string version = "before";
        EXPECT_EQ((manager.*read)("x", version), -1);
        EXPECT_EQ(version, "before");
        EXPECT_EQ(
            logged(),
            std::vector{errorRecord(
                "Get x version failed: sd_bus_call: a.b.Error: no",
                "Get {NAME} version failed: {ERROR}",
                {{"NAME", "x"}, {"ERROR", "sd_bus_call: a.b.Error: no"}})});
    }
}

TEST_F(SoftwareObjects, ReplyThatCannotBeReadIsLoggedAndTheVersionKept)
{
    services.answer("/xyz/openbmc_project/software/x", "Version",
                    Answer::body("s", "\"no variant\""));
    for (const auto& [read, service] : readers)
    {
        std::string version = "before";
        EXPECT_EQ((manager.*read)("x", version), -1);
        EXPECT_EQ(version, "before");
        const auto records = logged();
        ASSERT_EQ(records.size(), 1U);
        EXPECT_TRUE(records[0].at("MESSAGE").starts_with(
            "Get x version failed: sd_bus_message_skip variant: "))
            << records[0].at("MESSAGE");
    }
}

TEST_F(SoftwareObjects, MissingReleaseFileIsPrintedAndCreated)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(manager.setBmcVersion("bios_active", "1.2.3"), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Open file /etc/bios-release failed.");
    EXPECT_EQ(releaseContent(), "VERSION_ID=\"1.2.3\"\n");
}

using SoftwareObjectsWithoutServices = support::LibraryTest;

TEST_F(SoftwareObjectsWithoutServices, AbsentServiceIsLogged)
{
    FwManager manager("Host");
    for (const auto& writer : writers)
    {
        EXPECT_EQ(writer.set(manager, "bios_active"), -1) << writer.title;
        const auto records = logged();
        ASSERT_EQ(records.size(), 1U);
        EXPECT_TRUE(records[0].at("ERROR").starts_with(
            "sd_bus_call: org.freedesktop.DBus.Error.ServiceUnknown: "));
    }
    EXPECT_FALSE(std::filesystem::exists(releaseFile));
    for (const auto& [read, service] : readers)
    {
        std::string version = "before";
        EXPECT_EQ((manager.*read)("bios_active", version), -1);
        EXPECT_EQ(version, "before");
        EXPECT_EQ(logged().size(), 1U);
    }
}

} // namespace
