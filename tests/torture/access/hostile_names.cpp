// SPDX-License-Identifier: Apache-2.0
#include "actor.hpp"
#include "files.hpp"
#include "parts.hpp"
#include "support/files.hpp"

#include <libostrel.h>

#include <array>

namespace torture::access
{

namespace
{

using phosphor::software::updater::FwManager;

/** What the store does with a text. */
enum class Fate
{
    kept,
    cut, //!< it ends at its NUL
    refused
};

struct Text
{
    std::string text;
    Fate fate;
};

std::vector<Text> texts()
{
    constexpr size_t mebibyte = 1'048'576;
    using enum Fate;
    return {
        {"", kept},
        {"/", kept},
        {"../../../etc/shadow", kept},
        {"a/b", kept},
        {"a.b", kept},
        {"line\nbreak\r", kept},
        {"\"", kept},
        {"\": {\"Other\": {\"key\": \"planted\"}}, \"", kept},
        {"\", \"last\": \"planted", kept},
        {"back\\slash\\", kept},
        {"\\u0000", kept},
        {"\x01\x02\x1f\x7f\x1b[2J", kept},
        {"{}", kept},
        {"null", kept},
        {"%s%n%s", kept},
        {"$(reboot)", kept},
        {"\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80", kept},
        {"\xef\xbb\xbf", kept},
        {"\xe2\x80\xa8", kept},
        {std::string(mebibyte, 'x'), kept},
        {std::string(mebibyte, '"'), kept},
        {std::string("a\0b", 3), cut},
        {std::string("\0", 1), cut},
        {"\xff", refused},
        {"a\xc3", refused},
        {"\xc0\xaf", refused},
        {"\xed\xa0\x80", refused},
        {"\xf4\x90\x80\x80", refused},
    };
}

/** The roles that a text may have. */
constexpr std::array<std::string_view, 3> roles{"section", "key", "value"};

struct Record
{
    std::string section = "BMC";
    std::string key = "key";
    std::string value = "value";
};

Record makeRecord(std::string_view role, const std::string& text)
{
    Record record;
    (role == "section" ? record.section
     : role == "key"   ? record.key
                       : record.value) = text;
    return record;
}

constexpr auto documentBefore = "{\n"
                                "    \"Other\": {\n"
                                "        \"key\": \"other\"\n"
                                "    },\n"
                                "    \"BMC\": {\n"
                                "        \"last\": \"stays\"\n"
                                "    }\n"
                                "}\n";

/** Saves as a store would that does not escape texts. */
std::string saveRaw(const Record& record)
{
    support::writeFile(stateFile, "{\"Other\": {\"key\": \"other\"}, "
                                  "\"BMC\": {\"last\": \"stays\"}, \"" +
                                      record.section + "\": {\"" + record.key +
                                      "\": \"" + record.value + "\"}}\n");
    return "0";
}

std::string get(const std::string& section, const std::string& key)
{
    FwManager manager(section);
    return manager.getVersionStringFromInfo(key);
}

void saveHostilely(const Plan& plan, std::string_view role, const Text& text,
                   Report& report)
{
    constexpr size_t mostReadBytes = 255;
    const Record record = makeRecord(role, text.text);
    const std::string cell = std::string(role) + " '" +
                             text.text.substr(0, 30) + "' (" +
                             std::to_string(text.text.size()) + " bytes): ";
    const auto expect = [&](const std::string& what, const std::string& is,
                            const std::string& should) {
        if (is != should)
        {
            report.loss(cell + what + " is '" + is.substr(0, 80) + "', not '" +
                        should.substr(0, 80) + "'");
        }
    };

    support::writeFile(stateFile, documentBefore);
    const std::string result = act(As::root, [&] {
        FwManager manager(record.section);
        return plan.breaks("raw-names")
                   ? saveRaw(record)
                   : std::to_string(manager.saveVersionStringFromInfo(
                         record.key, record.value));
    });
    expect("the status", result, text.fate == Fate::refused ? "-1" : "0");
    const auto value = record.value.substr(0, record.value.find('\0'));
    expect("what is read", get(record.section, record.key),
           text.fate == Fate::refused ? "" : value.substr(0, mostReadBytes));
    expect("the other firmware's", get("Other", "key"), "other");
    expect("the other record", get("BMC", "last"), "stays");
    if (text.fate == Fate::refused)
    {
        expect("the file", support::readFile(stateFile), documentBefore);
    }
    report.count("hostile texts");
}

/** The release file escapes nothing: a line break in a value breaks its line.
 */
void breakTheReleaseFile(Report& report)
{
    struct HostileValue
    {
        std::string value;
        std::string result;
    };
    for (const auto& hostile : std::to_array<HostileValue>({
             {"1.0", "1.0, old"},
             {"a\"b=c", "a\"b=c, old"},
             {"1.0\"\nNAME=\"planted", "1.0, planted"},
             {"1.0\n\n2.0", "threw basic_string::substr: __pos (which is 1) > "
                            "this->size() (which is 0)"},
         }))
    {
        support::writeFile(releaseFile, "NAME=\"old\"\n");
        const auto seen = act(As::root, [&] {
            using namespace phosphor::software::updater;
            bmcReleaseFileItemSet(releaseFile, "VERSION_ID", hostile.value);
            std::map<std::string, std::string> entries;
            bmcReleaseFileRead(releaseFile, entries);
            return entries["VERSION_ID"] + ", " + entries["NAME"];
        });
        if (seen != hostile.result)
        {
            report.loss("release file with '" + hostile.value + "': " + seen);
        }
        report.count("hostile texts");
    }
}

} // namespace

void nameHostilely(const Plan& plan, Report& report)
{
    removeEverything();
    for (const auto role : roles)
    {
        for (const auto& text : texts())
        {
            saveHostilely(plan, role, text, report);
        }
    }
    breakTheReleaseFile(report);
}

} // namespace torture::access
