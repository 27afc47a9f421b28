// SPDX-License-Identifier: Apache-2.0
#include "memory_operations.hpp"

#include <libostrel.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace torture
{

namespace
{

using phosphor::software::updater::FwManager;

/** Calls each function of the store, without the library. */
std::string useStore(FwManager&)
{
    std::string failed;
    const auto expect = [&](const char* function, bool worked) {
        if (!worked && failed.empty())
        {
            failed = std::string(function) + " " + ::strerrorname_np(errno);
        }
    };
    json_config_t* const config =
        json_config_load("/usr/share/firmware/version.json",
                         "/run/lock/firmware/version.lock", 0);
    expect("load", config != nullptr);
    if (config == nullptr)
    {
        return failed;
    }
    std::array<char, 16> value{};
    expect("delete", json_config_delete_item(config, "BMC", "key") == 0);
    expect("set", json_config_set_string(config, "BMC", "key", "new") == 0);
    expect("get", json_config_get_string(config, "BMC", "key", value.data(),
                                         value.size()) == 0);
    expect("release", json_config_release(config) == 0);
    return failed.empty() ? "0" : failed;
}

std::string readWithANewManager(FwManager&)
{
    FwManager another("BMC");
    return "\"" + another.getVersionStringFromInfo("key") + "\"";
}

Operation likeThe(const std::string& name, std::string (*run)(FwManager&))
{
    Operation operation =
        *std::ranges::find(operations(), name, &Operation::name);
    operation.run = run;
    return operation;
}

} // namespace

std::vector<Operation> operationsOnMemory()
{
    std::vector<Operation> all = operations();
    Operation store = likeThe("save", useStore);
    store.name = "store";
    store.unharmed = {"0", "new at the end"};
    // A change that succeeded is kept when a later one is refused.
    store.interrupted = {"old", "deleted", "new at the end"};
    store.repair = store.prepare;
    all.push_back(store);
    all.push_back(likeThe("read", readWithANewManager));
    all.back().name = "read with a new manager";
    return all;
}

} // namespace torture
