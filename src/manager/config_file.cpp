// SPDX-License-Identifier: Apache-2.0
#include "../paths_and_names.hpp"
#include "../stored_document.hpp"

#include <libfenmarch.hpp>

#include <filesystem>

namespace phosphor::software::updater
{

using namespace fenmarch;

void FwManager::loadConfigContent()
{
    if (configLoaded)
    {
        return;
    }
    std::error_code unknownStatus;
    if (!std::filesystem::exists(paths::configFile, unknownStatus))
    {
        return;
    }
    const StoredDocument config(paths::configFile);
    if (!config.isOpen())
    {
        return;
    }

    const std::string flag = config.get(name, "updateable").value_or("");
    configured = !flag.empty();
    if (configured)
    {
        const auto text = [&](const char* item) {
            return config.get(name, item).value_or("");
        };
        const auto list = [&](const char* item, const char* missing = "") {
            return processDotString(config.get(name, item).value_or(missing));
        };

        updateable = flag == "yes";
        workMode = text("work_mode");
        imageBackupPath = text("image_backup_path");
        procGetVersion = text("get_version_proc");
        procImageCheck = text("image_check_proc");
        procUpdate = text("update_proc");
        procActive = text("active_proc");
        procPowerUp = text("power_up_proc");
        procPowerDown = text("power_down_proc");
        imageBackupMount = list("image_backup_mount");
        imageList = list("image_list");
        options = list("options");
        applyTimeOptions = list("apply_time_options", "OnStartUpdateRequest");
    }
    configLoaded = true;
}

} // namespace phosphor::software::updater
