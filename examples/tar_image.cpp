// SPDX-License-Identifier: Apache-2.0
#include "tar_image.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <fstream>
#include <optional>
#include <string_view>

namespace
{

constexpr std::size_t blockBytes = 512;
using Block = std::array<char, blockBytes>;

/** A field of a header. */
struct Field
{
    std::size_t offset;
    std::size_t size;
};

constexpr Field memberSize{124, 12};
constexpr Field checksum{148, 8};

std::optional<std::uintmax_t> octal(const Block& header, Field field)
{
    const std::string_view text(header.data() + field.offset, field.size);
    const auto first = std::min(text.find_first_not_of(' '), text.size());
    std::uintmax_t value = 0;
    const auto result = std::from_chars(text.data() + first,
                                        text.data() + text.size(), value, 8);
    return result.ec == std::errc() ? std::optional(value) : std::nullopt;
}

/** The sum of the header's bytes, with blanks in the field of the sum. */
std::uintmax_t sumOf(Block header)
{
    std::fill_n(header.begin() + checksum.offset, checksum.size, ' ');
    std::uintmax_t sum = 0;
    for (const char byte : header)
    {
        sum += static_cast<unsigned char>(byte);
    }
    return sum;
}

bool isEnd(const Block& header)
{
    return std::ranges::all_of(header, [](char byte) { return byte == 0; });
}

bool next(std::ifstream& archive, Block& block)
{
    return !archive.read(block.data(), blockBytes).fail();
}

} // namespace

bool isWholeTar(const std::string& path)
{
    std::ifstream archive(path, std::ios::binary);
    Block block{};
    while (next(archive, block))
    {
        if (isEnd(block))
        {
            return true;
        }
        const auto size = octal(block, memberSize);
        if (!size || octal(block, checksum) != sumOf(block))
        {
            return false;
        }
        for (std::uintmax_t done = 0; done < *size; done += blockBytes)
        {
            if (!next(archive, block))
            {
                return false;
            }
        }
    }
    return false;
}
