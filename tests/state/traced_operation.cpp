// One operation of the library between two marks that a tracer sees.

#include <libfenmarch.hpp>

#include <unistd.h>

#include <filesystem>
#include <functional>
#include <iostream>
#include <map>

namespace
{

using namespace phosphor::software::updater;

std::map<std::string, std::function<int(FwManager&)>> operations()
{
    return {{"read",
             [](FwManager& manager) {
                 return manager.getVersionStringFromInfo("key") == "old" ? 0
                                                                         : 1;
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

} // namespace

int main(int, char** arguments)
{
    const auto operation = operations().at(arguments[1]);
    FwManager manager("BMC");
    static_cast<void>(::access("/operation begins", F_OK));
    const int status = operation(manager);
    static_cast<void>(::access("/operation ends", F_OK));
    std::cout << "status " << status << std::endl;
}
