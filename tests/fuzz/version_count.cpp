// SPDX-License-Identifier: Apache-2.0

/**
 * FwManager::getVersionCount() on its state file, against a conversion of the
 * record's text that goes digit by digit. The state file is a link to a file in
 * memory.
 */
#include "fuzz_target.hpp"
#include "memory_file.hpp"

#include <libfenmarch.hpp>

#include <climits>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <variant>

using namespace phosphor::software::updater;

const int fuzz::sabotages = 3;

namespace
{

enum class Refusal
{
    noNumber,
    outOfRange
};

using Answer = std::variant<int, Refusal>;

/** The input as text in which each byte is a character of Latin-1. */
std::string inUtf8(const std::string& input)
{
    std::string text;
    for (const char byte : input)
    {
        const auto code = static_cast<unsigned char>(byte);
        if (code < 0x80)
        {
            text += byte;
        }
        else
        {
            text += static_cast<char>(0xC0 | code >> 6);
            text += static_cast<char>(0x80 | (code & 0x3F));
        }
    }
    return text;
}

/** The state file in which this is the length of the history. */
std::string stateWith(const std::string& text)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string document = R"({"BMC":{"Staged_count":")";
    for (const char byte : text)
    {
        const auto code = static_cast<unsigned char>(byte);
        if (code < 0x20 || byte == '"' || byte == '\\')
        {
            document +=
                {'\\', 'u', '0', '0', digits[code / 16], digits[code % 16]};
        }
        else
        {
            document += byte;
        }
    }
    return document + "\"}}";
}

/** What comes back of a stored text: 255 bytes at most, no character torn, up
 *  to the first NUL. */
std::string readBack(std::string text)
{
    if (text.size() > 255)
    {
        // Of two bytes at most, so the one before the cut tells.
        text.resize((text[254] & 0xC0) == 0xC0 ? 254 : 255);
    }
    text.resize(std::strlen(text.c_str()));
    return text;
}

Answer expectedCount(const std::string& text)
{
    if (text.empty())
    {
        return 0;
    }
    const char* next = text.c_str();
    next += std::strspn(next, " \t\n\v\f\r");
    const bool negative = *next == '-';
    next += *next == '-' || *next == '+' ? 1 : 0;
    if (*next < '0' || *next > '9')
    {
        return Refusal::noNumber;
    }
    const long long most =
        negative ? -static_cast<long long>(INT_MIN) : INT_MAX;
    long long magnitude = 0;
    for (; *next >= '0' && *next <= '9'; ++next)
    {
        magnitude = magnitude * 10 + (*next - '0');
        if (magnitude > most)
        {
            return Refusal::outOfRange;
        }
    }
    return static_cast<int>(negative ? -magnitude : magnitude);
}

/** Puts a file in memory in the place of the state file. */
void link(const fuzz::MemoryFile& state)
{
    const std::filesystem::path place = "/usr/share/firmware/version.json";
    create_directories(place.parent_path());
    remove(place);
    create_symlink(state.path(), place);
}

Answer broken(Answer answer)
{
    int* const count = std::get_if<int>(&answer);
    if (fuzz::sabotage == 1 && count != nullptr && *count < 0)
    {
        *count = 0;
    }
    if (fuzz::sabotage == 2 && answer == Answer(Refusal::outOfRange))
    {
        return INT_MAX;
    }
    if (fuzz::sabotage == 3 && answer == Answer(Refusal::noNumber))
    {
        return 0;
    }
    return answer;
}

Answer countOf(FwManager& manager)
{
    try
    {
        return manager.getVersionCount("Staged");
    }
    catch (const std::invalid_argument& error)
    {
        fuzz::require(std::strcmp(error.what(), "stoi") == 0,
                      "the error is that of the conversion");
        return Refusal::noNumber;
    }
    catch (const std::out_of_range& error)
    {
        fuzz::require(std::strcmp(error.what(), "stoi") == 0,
                      "the error is that of the conversion");
        return Refusal::outOfRange;
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static fuzz::MemoryFile state;
    static FwManager manager = [] {
        link(state);
        return FwManager("BMC");
    }();

    const std::string text = inUtf8(std::string(data, data + size));
    state.write(stateWith(text));
    fuzz::require(broken(countOf(manager)) == expectedCount(readBack(text)),
                  "a length is read as far as it is a number");
    return 0;
}
