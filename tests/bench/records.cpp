// SPDX-License-Identifier: Apache-2.0
#include "records.hpp"

namespace
{

std::string versionText(size_t number)
{
    std::string digits = std::to_string(number % 10000);
    digits.insert(0, 4 - digits.size(), '0');
    return "fw-2.14." + digits + "-202405";
}

void addHistory(std::vector<Record>& all, const std::string& section,
                const std::string& activation, size_t length)
{
    all.push_back({section, activation + "_count", std::to_string(length)});
    for (size_t i = 0; i < length; ++i)
    {
        all.push_back(
            {section, activation + '_' + std::to_string(i), versionText(i)});
    }
}

} // namespace

std::vector<Record> records(size_t times)
{
    std::vector<Record> all;
    for (const char* const section : {"BMC", "CPLD", "Host"})
    {
        all.push_back({section, "check_result", "yes"});
        all.push_back({section, "update_state", "Updated"});
        addHistory(all, section, "Active", 12 * times - 2);
        addHistory(all, section, "Staged", 12 * times - 2);
    }
    return all;
}

std::string document(const std::vector<Record>& records)
{
    std::string text = "{\n";
    for (size_t i = 0; i < records.size(); ++i)
    {
        const auto& [section, key, value] = records[i];
        const bool first = i == 0 || section != records[i - 1].section;
        const bool last =
            i + 1 == records.size() || section != records[i + 1].section;
        text += first ? "    \"" + section + "\": {\n" : "";
        text += "        \"" + key + "\": \"" + value + '"';
        text += last ? "\n    }" : "";
        text += i + 1 == records.size() ? "\n" : ",\n";
    }
    return text + "}\n";
}

std::vector<std::string> keys(size_t count, bool colliding)
{
    constexpr size_t least = 100'000; // so that all have as many digits
    std::vector<std::string> all;
    for (size_t i = least; i < least + count; ++i)
    {
        all.push_back(colliding ? "count_" + std::to_string(i) + "_count"
                                : "count_count_" + std::to_string(i));
    }
    return all;
}
