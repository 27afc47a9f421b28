#include "records.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>

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

constexpr uint32_t fnv1a(uint32_t hash, std::string_view text)
{
    for (const char letter : text)
    {
        hash = (hash ^ static_cast<unsigned char>(letter)) * 16777619U;
    }
    return hash;
}

using Blocks = std::pair<std::string_view, std::string_view>;

// Each pair leads from the hash of what is before it to one and the same, so a
// choice at each of the 14 places gives 2^14 texts of one hash.
constexpr std::array<Blocks, 14> collidingBlocks{{
    {"gwzx", "16cd"},
    {"yyao", "1kia"},
    {"g3zx", "1pad"},
    {"epvu", "33ea"},
    {"zwfo", "2uja"},
    {"g3zx", "1pad"},
    {"epvu", "33ea"},
    {"zwfo", "2uja"},
    {"g3zx", "1pad"},
    {"epvu", "33ea"},
    {"zwfo", "2uja"},
    {"g3zx", "1pad"},
    {"epvu", "33ea"},
    {"zwfo", "2uja"},
}};

constexpr bool collide(std::span<const Blocks> pairs)
{
    uint32_t hash = 2166136261U;
    return std::ranges::all_of(pairs, [&hash](const Blocks& blocks) {
        const uint32_t other = fnv1a(hash, blocks.second);
        hash = fnv1a(hash, blocks.first);
        return hash == other;
    });
}

static_assert(collide(collidingBlocks));

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
    std::vector<std::string> all(count);
    for (size_t i = 0; i < count; ++i)
    {
        for (size_t place = 0; place < collidingBlocks.size(); ++place)
        {
            const auto& [first, second] =
                colliding ? collidingBlocks[place] : Blocks{"zero", "one."};
            all[i] += (i >> place) % 2 == 0 ? first : second;
        }
    }
    return all;
}
