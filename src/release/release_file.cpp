// SPDX-License-Identifier: Apache-2.0
#include "../../os/cancellation.hpp"
#include "../text_file.hpp"

#include <libfenmarch.hpp>

#include <algorithm>
#include <cstdio>
#include <string_view>

namespace phosphor::software::updater
{

using namespace fenmarch;

namespace
{

int reportUnopened(const std::string& path)
{
    // Unlike all other messages of the library, this one goes to standard
    // output and has no line end.
    std::printf("Open file %s failed.", path.c_str());
    return -1;
}

/** The text between the quotes of a line; the quotes are not checked. */
std::string valueIn(const std::string& line, std::string::size_type equals)
{
    const auto start = equals == std::string::npos ? 1 : equals + 2;
    std::string value = line.substr(start);
    if (!value.empty())
    {
        value.pop_back();
    }
    return value;
}

} // namespace

int bmcReleaseFileRead(const std::string& path,
                       std::map<std::string, std::string>& entries)
{
    const os::CancellationHeldOff held;
    const auto text = readText(path);
    if (!text)
    {
        return reportUnopened(path);
    }
    // Not with a stream, which treats a failed allocation as the end.
    std::string_view rest(*text);
    while (!rest.empty())
    {
        const std::string line(rest.substr(0, rest.find('\n')));
        const auto equals = line.find('=');
        entries[line.substr(0, equals)] = valueIn(line, equals);
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    }
    return 0;
}

int bmcReleaseFileWrite(const std::string& path,
                        const std::map<std::string, std::string>& entries)
{
    const os::CancellationHeldOff held;
    std::vector<std::string> lines;
    for (const auto& [key, value] : entries)
    {
        lines.push_back(key + "=\"" + value + "\"\n");
    }
    return writeText(path, lines) == Opened::yes ? 0 : reportUnopened(path);
}

int bmcReleaseFileItemSet(const std::string& path, const std::string& key,
                          const std::string& value)
{
    std::map<std::string, std::string> entries;
    bmcReleaseFileRead(path, entries);
    const auto found = entries.find(key);
    if (found == entries.end() || found->second != value)
    {
        entries[key] = value;
        bmcReleaseFileWrite(path, entries);
    }
    return 0;
}

} // namespace phosphor::software::updater
