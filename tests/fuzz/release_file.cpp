// SPDX-License-Identifier: Apache-2.0

/**
 * The release files: what is read from a text, what is written for a map, and
 * that the one gives back the other.
 */
#include "fuzz_target.hpp"
#include "memory_file.hpp"

#include <libfenmarch.hpp>

#include <algorithm>
#include <sstream>

using namespace phosphor::software::updater;

const int fuzz::sabotages = 4;

namespace
{

using Entries = std::map<std::string, std::string>;

struct Reading
{
    Entries entries;
    /** Ended by a line that holds no value. */
    bool threw = false;

    bool operator==(const Reading&) const = default;
};

/** Line by line, from the end of a line to its start. */
Reading expectedReading(const std::string& text)
{
    Reading reading;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
    {
        std::string key = line;
        std::string quoted = line;
        if (line.find('=') != std::string::npos)
        {
            key.erase(key.find('='));
            quoted.erase(0, key.size() + 1);
        }
        if (quoted.empty())
        {
            reading.threw = true;
            return reading;
        }
        quoted.erase(0, 1);
        reading.entries[key] =
            quoted.substr(0, std::max<std::size_t>(quoted.size(), 1) - 1);
    }
    return reading;
}

Reading read(const std::string& path)
{
    Reading reading;
    try
    {
        fuzz::require(bmcReleaseFileRead(path, reading.entries) == 0,
                      "a file that is there is read");
    }
    catch (const std::out_of_range&)
    {
        reading.threw = fuzz::sabotage != 1;
    }
    const auto version = reading.entries.find("VERSION_ID");
    if (fuzz::sabotage == 2 && version != reading.entries.end())
    {
        version->second += '"';
    }
    return reading;
}

std::string expectedText(const Entries& entries)
{
    std::ostringstream text;
    for (const auto& [key, value] : entries)
    {
        text << key << "=\"" << value << "\"\n";
    }
    return text.str();
}

/** The input as fields that end with a NUL: keys and values in turn. */
Entries entriesIn(const std::string& input)
{
    Entries entries;
    std::istringstream fields(input);
    for (std::string key, value; std::getline(fields, key, '\0');)
    {
        value.clear();
        std::getline(fields, value, '\0');
        entries[key] = value;
    }
    return entries;
}

/** Whether an entry stands on a line of its own that is cut where it should. */
bool isPlain(const Entries::value_type& entry)
{
    return entry.first.find_first_of("\n=") == std::string::npos &&
           entry.second.find('\n') == std::string::npos;
}

void checkRoundTrip(const fuzz::MemoryFile& file, const Entries& entries)
{
    fuzz::require(bmcReleaseFileWrite(file.path(), entries) == 0,
                  "a file that is there is written");
    std::string text = file.read();
    if (fuzz::sabotage == 3 && !text.empty())
    {
        text.pop_back();
    }
    fuzz::require(text == expectedText(entries),
                  "what is written is a line for each entry");

    Reading again = read(file.path());
    if (fuzz::sabotage == 4 && again.entries.size() > 1)
    {
        again.entries.erase(again.entries.begin());
    }
    fuzz::require(!std::ranges::all_of(entries, isPlain) ||
                      again == Reading{entries},
                  "what is read again is what was written");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static fuzz::MemoryFile file;
    const std::string input(data, data + size);

    file.write(input);
    const Reading reading = read(file.path());
    fuzz::require(reading == expectedReading(input),
                  "a line is a key and a value without its first and last "
                  "character, and only one with neither throws");

    const bool isMap = input.find('\0') != std::string::npos;
    checkRoundTrip(file, isMap ? entriesIn(input) : reading.entries);
    return 0;
}
