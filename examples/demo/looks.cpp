// SPDX-License-Identifier: Apache-2.0
#include "looks.hpp"

#include "one_line.hpp"

#include <jansson.h>

#include <cstdlib>
#include <memory>

namespace demo
{

namespace
{

constexpr auto none = "none";

struct Release
{
    void operator()(json_t* value) const
    {
        json_decref(value);
    }
};

using Document = std::unique_ptr<json_t, Release>;

/** Reads the file as JSON, with another parser than the library. */
Document readStateFile()
{
    return Document(
        json_load_file("/usr/share/firmware/version.json", 0, nullptr));
}

std::string recordOnDisk(const std::string& firmware, const std::string& key)
{
    const Document root = readStateFile();
    const json_t* const section = json_object_get(root.get(), firmware.c_str());
    const char* const value =
        json_string_value(json_object_get(section, key.c_str()));
    return value == nullptr ? none : '"' + std::string(value) + '"';
}

std::string textOnDisk()
{
    const Document root = readStateFile();
    const std::unique_ptr<char, decltype(&std::free)> text(
        json_dumps(root.get(), JSON_COMPACT), &std::free);
    return text == nullptr ? none : text.get();
}

std::string contentOf(const Disk& disk, const std::string& path)
{
    const auto found = disk.find(path);
    return found == disk.end() ? none : found->second;
}

std::string imageIn(const std::string& directory)
{
    return "/usr/share/firmware/" + directory + "/firmware.tar";
}

std::string inOneLine(const std::string& text)
{
    std::string line;
    for (const char character : text)
    {
        line += character == '\n' ? "\\n" : std::string(1, character);
    }
    return line;
}

Check recordIs(const std::string& firmware, const std::string& key,
               const std::string& value)
{
    const std::string subject = "state file: " + firmware + ' ' + key + " is ";
    return {"disk", subject + value,
            [=](Stage&) { return subject + recordOnDisk(firmware, key); }};
}

} // namespace

Check property(const std::string& path, const std::string& name,
               const std::string& value)
{
    const std::string subject = shortened(path) + ' ' + name + " is ";
    return {"bus", subject + value, [=](Stage& stage) {
                return subject + stage.property(path, name).value_or(none);
            }};
}

Check record(const std::string& firmware, const std::string& key,
             const std::string& value)
{
    return recordIs(firmware, key, '"' + value + '"');
}

Check stateFile(const std::string& text)
{
    return {"disk", "state file: " + text,
            [](Stage&) { return "state file: " + textOnDisk(); }};
}

Check file(const std::string& path, const std::string& text)
{
    return {"disk", path + ": " + inOneLine(text), [=](const Stage& stage) {
                return path + ": " + inOneLine(contentOf(stage.disk(), path));
            }};
}

Check noFile(const std::string& path)
{
    return {"disk", path + ": " + none, [=](const Stage& stage) {
                return path + ": " + contentOf(stage.disk(), path);
            }};
}

Check imageMoved(const std::string& from, const std::string& to)
{
    const std::string expected = "firmware.tar: from " + from + " to " + to;
    return {"disk", expected, [=](const Stage& stage) {
                const auto image = contentOf(stage.formerDisk(), imageIn(from));
                const bool moved =
                    image != none &&
                    contentOf(stage.disk(), imageIn(from)) == none &&
                    contentOf(stage.disk(), imageIn(to)) == image;
                return moved ? expected : "firmware.tar: not as it was";
            }};
}

Check noRecord(const std::string& firmware, const std::string& key)
{
    return recordIs(firmware, key, none);
}

} // namespace demo
