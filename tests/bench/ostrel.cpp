// SPDX-License-Identifier: Apache-2.0
#include "stores.hpp"

#include <libostrel.h>

#include <array>
#include <fstream>
#include <sstream>

namespace
{

constexpr auto path = "version.json";

json_config_t* open()
{
    auto* const config = json_config_load(path, "version.lock", 0);
    require(config != nullptr, "libostrel does not open");
    return config;
}

std::string read(const Record& record)
{
    std::array<char, 256> value{};
    auto* const config = open();
    const int status =
        json_config_get_string(config, record.section.c_str(),
                               record.key.c_str(), value.data(), value.size());
    require(json_config_release(config) == 0 && status == 0,
            "libostrel does not read");
    return value.data();
}

void save(const Record& record)
{
    auto* const config = open();
    const int status =
        json_config_set_string(config, record.section.c_str(),
                               record.key.c_str(), record.value.c_str());
    require(json_config_release(config) == 0 && status == 0,
            "libostrel does not save");
}

// To save each would take long. One is saved, and the library has to write the
// same text.
void fill(const std::vector<Record>& records)
{
    const auto text = document(records);
    std::ofstream(path) << text;
    Record changed = records.back();
    changed.value += '+';
    save(changed);
    save(records.back());
    std::ostringstream written;
    written << std::ifstream(path).rdbuf();
    require(written.str() == text, "libostrel writes another form");
}

} // namespace

const Store ostrel{fill, read, save};
