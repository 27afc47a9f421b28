// One operation on the state file between two marks that a tracer sees.

#include <libfenmarch.hpp>

#include <unistd.h>

#include <iostream>

namespace
{

using phosphor::software::updater::FwManager;

int perform(FwManager& manager, const std::string& operation)
{
    if (operation == "save")
    {
        return manager.saveVersionStringFromInfo("key", "new");
    }
    if (operation == "save the same")
    {
        return manager.saveVersionStringFromInfo("key", "old");
    }
    if (operation == "delete")
    {
        return manager.deleteVersionStringFromInfo("key");
    }
    return manager.getVersionStringFromInfo("key") == "old" ? 0 : 1;
}

} // namespace

int main(int, char** arguments)
{
    FwManager manager("BMC");
    // jansson reads its seed from the system once in a process.
    manager.getVersionStringFromInfo("key");

    ::access("/operation begins", F_OK);
    const int status = perform(manager, arguments[1]);
    ::access("/operation ends", F_OK);
    std::cout << "status " << status << std::endl;
}
