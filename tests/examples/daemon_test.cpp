// SPDX-License-Identifier: Apache-2.0

// The update daemon of the examples, as a process on a BMC.

#include "support/await.hpp"
#include "support/caller.hpp"
#include "support/child.hpp"
#include "support/library_test.hpp"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <optional>

namespace
{

using support::Answer;
using support::await;

constexpr auto service = "com.example.FirmwareUpdate";
constexpr auto host = "/com/example/firmware_update/Host";
constexpr auto button = "/xyz/openbmc_project/chassis/buttons/power";
constexpr auto biosActive = "/xyz/openbmc_project/software/bios_active";

class Daemon : public support::BusTest
{
  public:
    Daemon()
    {
        configure(scratch.path / "backup");
        services.setProperty(button, "ButtonMasked", "b", "false");
        support::writeFile(images / "content", "the new BIOS");
        support::writeFile(images / "release", "VERSION_ID=\"1.02.03\"\n"
                                               "BUILD_DATE=\"2024-05-06\"\n"
                                               "NAME=\"Example\"\n");
        support::run(
            {"tar", "-cf", images / "firmware.tar", "-C", images, "content"});
    }

    static void configure(const std::filesystem::path& backup)
    {
        support::writeFile(configFile, R"({"Host":{"updateable":"yes",)"
                                       R"("image_backup_path":")" +
                                           backup.string() + R"("}})");
    }

    void start()
    {
        daemon.emplace([] {
            execl(UPDATE_DAEMON, UPDATE_DAEMON, "Host=bios_active", nullptr);
            return 127;
        });
    }

    bool isServed()
    {
        return sd_bus_get_name_creds(caller.get(), service, 0, nullptr) >= 0;
    }

    [[nodiscard]] bool startAndAwait()
    {
        // The bus notices the end of the previous daemon a little later.
        if (!await([&] { return !isServed(); }))
        {
            return false;
        }
        start();
        return await([&] { return isServed(); });
    }

    std::string call(const std::string& member,
                     const std::string& signature = "",
                     const std::string& arguments = "")
    {
        return caller.call(service, host, service, member, signature,
                           arguments);
    }

    std::string update()
    {
        return call("Update", "s", images);
    }

    /** Calls, and does not wait for the answer. */
    void beginUpdate()
    {
        const auto message = support::makeCall(caller.get(), service, host,
                                               service, "Update", "s", images);
        sd_bus_send(caller.get(), message.get(), nullptr);
        sd_bus_flush(caller.get());
    }

    std::string shown(const std::string& property)
    {
        return caller.call(service, host, "org.freedesktop.DBus.Properties",
                           "Get", "ss", std::string(service) + ' ' + property);
    }

    /** @return whether a progress was published, or is about to be */
    [[nodiscard]] bool awaitProgress()
    {
        return await([&] {
            return std::ranges::count(services.takeCalls(), biosActive,
                                      &support::RecordedCall::path) > 0;
        });
    }

    std::optional<std::string> masked()
    {
        return services.property(button, "ButtonMasked");
    }

    /** The update state on the disk. */
    static bool isKept(const std::string& state)
    {
        return support::readFile(stateFile).find(
                   "\"update_state\": \"" + state + '"') != std::string::npos;
    }

    support::ScratchDirectory scratch;
    std::filesystem::path images = scratch.path / "images";
    support::Caller caller;
    std::optional<support::Child> daemon;
};

constexpr auto failed = "com.example.FirmwareUpdate.Failed: ";

TEST_F(Daemon, UpdatesAFirmware)
{
    ASSERT_TRUE(startAndAwait());
    EXPECT_EQ(call("Check", "s", images), "true");
    EXPECT_EQ(update(), "");

    EXPECT_EQ(shown("State"), R"(s "Updated")");
    EXPECT_EQ(shown("Verifying"), R"(s "1.02.03")");
    EXPECT_EQ(shown("Verified"), R"(s "")");
    EXPECT_EQ(masked(), "b false");
    EXPECT_EQ(services.property(biosActive, "Progress"), "y 100");
    EXPECT_EQ(services.property(biosActive, "Version"), R"(s "1.02.03")");
    EXPECT_EQ(services.property(biosActive, "Subname"), R"(s "Example")");
}

TEST_F(Daemon, VerifiesTheVersionThatRuns)
{
    ASSERT_TRUE(startAndAwait());
    ASSERT_EQ(call("Check", "s", images), "true");
    ASSERT_EQ(update(), "");
    services.setProperty(biosActive, "Version", "s", "1.02.02");
    EXPECT_EQ(call("Verify"),
              std::string(failed) + "there is no backup of 1.02.02");
    services.setProperty(biosActive, "Version", "s", "1.02.03");
    EXPECT_EQ(call("Verify"), "");
    EXPECT_EQ(shown("Verifying"), R"(s "")");
    EXPECT_EQ(shown("Verified"), R"(s "1.02.03")");
    EXPECT_EQ(call("Verify"), "");
    EXPECT_EQ(support::readFile(stateFile), R"({
    "Host": {
        "check_result": "yes",
        "update_option": "",
        "update_state": "Updated",
        "Active_0": "1.02.03",
        "Active_count": "1"
    }
}
)");
}

TEST_F(Daemon, RefusesAnImageThatIsNotWhole)
{
    std::filesystem::resize_file(images / "firmware.tar", 600);
    ASSERT_TRUE(startAndAwait());
    EXPECT_EQ(call("Check", "s", images), "false");
    services.takeCalls();
    EXPECT_EQ(update(), std::string(failed) + "no image has passed the check");
    EXPECT_TRUE(services.takeCalls().empty());
    EXPECT_TRUE(std::filesystem::exists(images / "firmware.tar"));
}

TEST_F(Daemon, NoticesABackupThatIsNotWhole)
{
    const auto area = scratch.path / "small";
    std::filesystem::create_directory(area);
    const auto mount = support::Mount::tmpfs(area, 8192);
    configure(area);
    ASSERT_TRUE(startAndAwait());
    ASSERT_EQ(call("Check", "s", images), "true");
    EXPECT_EQ(update(), std::string(failed) + "the backup is not whole");
    EXPECT_EQ(masked(), "b false");
    EXPECT_EQ(shown("State"), R"(s "Failed")");
}

TEST_F(Daemon, UnmasksTheButtonWhenTheUpdaterFails)
{
    services.answer(biosActive, "Version",
                    Answer::error("a.b.Error", "not now"));
    ASSERT_TRUE(startAndAwait());
    ASSERT_EQ(call("Check", "s", images), "true");
    EXPECT_EQ(update(), std::string(failed) + "the version is not published");
    EXPECT_EQ(masked(), "b false");
    EXPECT_TRUE(isKept("Failed"));
}

TEST_F(Daemon, ServesOthersDuringAnUpdate)
{
    services.answer(biosActive, "Progress",
                    Answer::late(std::chrono::milliseconds(30)));
    ASSERT_TRUE(startAndAwait());
    ASSERT_EQ(call("Check", "s", images), "true");
    beginUpdate();
    ASSERT_TRUE(awaitProgress());
    EXPECT_EQ(shown("State"), R"(s "Updating")");
    EXPECT_EQ(update(), std::string(failed) + "another update is under way");
    EXPECT_TRUE(await([&] { return isKept("Updated"); }));
}

TEST_F(Daemon, UnmasksTheButtonWhenItIsTerminated)
{
    services.answer(biosActive, "Progress",
                    Answer::late(std::chrono::milliseconds(100)));
    ASSERT_TRUE(startAndAwait());
    ASSERT_EQ(call("Check", "s", images), "true");
    beginUpdate();
    ASSERT_TRUE(awaitProgress());
    EXPECT_EQ(masked(), "b true");
    daemon->signal(SIGTERM);
    EXPECT_EQ(daemon->wait(), 0);
    EXPECT_EQ(masked(), "b false");
    EXPECT_TRUE(isKept("Failed"));
    EXPECT_NE(services.property(biosActive, "Progress"), "y 100");
}

TEST_F(Daemon, UnmasksTheButtonThatAKilledDaemonLeftMasked)
{
    services.answer(biosActive, "Progress", Answer::never());
    ASSERT_TRUE(startAndAwait());
    ASSERT_EQ(call("Check", "s", images), "true");
    beginUpdate();
    ASSERT_TRUE(awaitProgress());
    daemon->signal(SIGKILL);
    EXPECT_EQ(daemon->wait(), -SIGKILL);
    EXPECT_EQ(masked(), "b true");
    EXPECT_TRUE(isKept("Updating"));

    ASSERT_TRUE(await([&] {
        return sd_bus_get_name_creds(caller.get(), service, 0, nullptr) < 0;
    }));
    ASSERT_TRUE(startAndAwait());
    EXPECT_EQ(masked(), "b false");
    EXPECT_EQ(shown("State"), R"(s "Interrupted")");
}

TEST_F(Daemon, LeavesTheMasksOfOthersAloneWhenItStarts)
{
    services.setProperty(button, "ButtonMasked", "b", "true");
    ASSERT_TRUE(startAndAwait());
    EXPECT_EQ(masked(), "b true");
}

TEST_F(Daemon, FailsToStartAsLongAsTheButtonStaysMasked)
{
    support::writeFile(stateFile, R"({"Host":{"update_state":"Updating"}})");
    services.answer(button, "ButtonMasked",
                    Answer::error("a.b.Error", "not now"));
    start();
    EXPECT_EQ(daemon->wait(), 1);
    services.answer(button, "ButtonMasked", Answer::accept());
    ASSERT_TRUE(startAndAwait());
    EXPECT_EQ(shown("State"), R"(s "Interrupted")");
}

TEST_F(Daemon, EndsWithAFailureWhenTheButtonStaysMasked)
{
    ASSERT_TRUE(startAndAwait());
    ASSERT_EQ(call("Check", "s", images), "true");
    services.answer(button, "ButtonMasked",
                    Answer::error("a.b.Error", "not now"));
    EXPECT_EQ(update(), std::string(failed) + "the power button stays masked");
    EXPECT_EQ(daemon->wait(), 1);
    EXPECT_TRUE(isKept("Updating"));
}

TEST_F(Daemon, FailsWithTheBusSoThatItIsStartedAgain)
{
    ASSERT_TRUE(startAndAwait());
    systemBus().stop();
    EXPECT_EQ(daemon->wait(), 1);
    systemBus().start();
}

TEST_F(Daemon, EndsWithoutAnUpdateOnASignal)
{
    for (const int signal : {SIGTERM, SIGINT})
    {
        ASSERT_TRUE(startAndAwait());
        daemon->signal(signal);
        EXPECT_EQ(daemon->wait(), 0);
    }
}

} // namespace
