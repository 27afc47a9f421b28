#include "tar_image.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string_view>
#include <system_error>

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

/** The sum of the header's bytes, its own field taken as blanks. */
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

/** Reads an archive block by block and says how far it is. */
class Archive
{
  public:
    Archive(const std::string& path,
            const std::function<void(int percent)>& listener) :
        file(path, std::ios::binary), report(listener)
    {
        std::error_code unknownSize;
        sizeBytes = std::filesystem::file_size(path, unknownSize);
        tell(0);
    }

    bool next(Block& block)
    {
        if (!file.read(block.data(), blockBytes))
        {
            return false;
        }
        readBytes += blockBytes;
        // 100 is said of a whole archive only.
        tell(std::min(99, static_cast<int>(readBytes * 100 / sizeBytes)));
        return true;
    }

    void tell(int percent)
    {
        if (percent > told)
        {
            told = percent;
            report(percent);
        }
    }

  private:
    std::ifstream file;
    const std::function<void(int percent)>& report;
    std::uintmax_t sizeBytes = 0;
    std::uintmax_t readBytes = 0;
    int told = -1;
};

} // namespace

bool isWholeTar(const std::string& path,
                const std::function<void(int percent)>& report)
{
    Archive archive(path, report);
    Block block{};
    while (archive.next(block))
    {
        if (isEnd(block))
        {
            archive.tell(100);
            return true;
        }
        const auto size = octal(block, memberSize);
        if (!size || octal(block, checksum) != sumOf(block))
        {
            return false;
        }
        for (std::uintmax_t done = 0; done < *size; done += blockBytes)
        {
            if (!archive.next(block))
            {
                return false;
            }
        }
    }
    return false;
}
