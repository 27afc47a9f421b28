// SPDX-License-Identifier: Apache-2.0

// Runs one operation of the library between two marks that a tracer sees.

#include <libfenmarch.hpp>

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <iostream>
#include <map>
#include <string_view>

namespace
{

using namespace phosphor::software::updater;

std::map<std::string, std::function<int(FwManager&)>> operations()
{
    return {
        {"read",
         [](FwManager& manager) {
             return manager.getVersionStringFromInfo("key") == "old" ? 0 : 1;
         }},
        {"save",
         [](FwManager& manager) {
             return manager.saveVersionStringFromInfo("key", "new");
         }},
        {"save the same",
         [](FwManager& manager) {
             return manager.saveVersionStringFromInfo("key", "old");
         }},
        {"delete",
         [](FwManager& manager) {
             return manager.deleteVersionStringFromInfo("key");
         }},
        {"save the check result",
         [](FwManager& manager) { return manager.saveImageCheckResult(true); }},
        {"save the update state",
         [](FwManager& manager) {
             return manager.saveUpdateState("Updating");
         }},
        {"save a version",
         [](FwManager& manager) {
             return manager.saveVersion("Active", 0, "3.0");
         }},
        {"save the count",
         [](FwManager& manager) {
             return manager.saveVersionCount("Active", 7);
         }},
        {"delete a version",
         [](FwManager& manager) { return manager.deleteVersion("Active", 0); }},
        {"delete all",
         [](FwManager& manager) {
             return manager.deleteVersion("Active", 65535);
         }},
        {"back up",
         [](FwManager& manager) {
             manager.backupImage("/usr/share/firmware/incoming", "1.0");
             return 0;
         }},
        {"verify",
         [](FwManager& manager) {
             manager.verifyBackupImage("1.0");
             return 0;
         }},
        {"write a release file",
         [](FwManager&) {
             return bmcReleaseFileWrite("/etc/bios-release",
                                        {{"A", "1"}, {"B", "2"}});
         }},
        {"write a release file in the working directory", [](FwManager&) {
             std::filesystem::current_path("/etc");
             return bmcReleaseFileWrite("bios-release", {{"A", "1"}});
         }}};
}

/** In place, as an editor may, and shorter than the test has it. */
void writeShortState(int)
{
    constexpr std::string_view text = R"({"BMC":{"a":"1"}})";
    const int file = ::open("/usr/share/firmware/version.json",
                            O_WRONLY | O_TRUNC | O_CLOEXEC);
    if (file == -1 || ::write(file, text.data(), text.size()) == -1)
    {
        ::_exit(1);
    }
    ::close(file);
}

} // namespace

int main(int, char** arguments)
{
    const auto operation = operations().at(arguments[1]);
    // The tracer says when.
    static_cast<void>(std::signal(SIGUSR1, writeShortState));
    // An operation that does not end must not fill the disk with its trace.
    constexpr unsigned mostSeconds = 10;
    ::alarm(mostSeconds);
    FwManager manager("BMC");
    static_cast<void>(::access("/operation begins", F_OK));
    const int status = operation(manager);
    static_cast<void>(::access("/operation ends", F_OK));
    std::cout << "status " << status << std::endl;
}
