// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// Strings of JSON. A spelling is a string as it stands in a JSON text: valid,
// with its quotes and escapes. Only quoted() allocates.

namespace ostrel
{

struct Spelling
{
    /** 0 when a character or an escape is not valid, or the end is missing. */
    size_t length;
    bool hasEscapes;
};

/** Reads the spelling that a JSON text starts with.
 *  @param json  starts with a quote; a NUL stands behind it, as behind a
 *               std::string, or behind the valid text that it is part of */
[[nodiscard]] Spelling readSpelling(std::string_view json) noexcept;

/** A character in UTF-8. */
struct Character
{
    std::array<char, 4> bytes;
    size_t length;
};

/** Decodes a spelling piece by piece. */
class Pieces
{
  public:
    /** @param spelling  outlives the object */
    explicit Pieces(std::string_view spelling) noexcept;

    /** The next whole characters, as many as stand in a row without an escape;
     *  empty at the end. Valid until the next call. */
    [[nodiscard]] std::string_view next() noexcept;

  private:
    std::string_view rest;
    Character escaped{};
};

/** Whether a spelling stands for this text. */
[[nodiscard]] bool spells(std::string_view spelling,
                          std::string_view text) noexcept;

/** Compares what two spellings stand for, as string_view::compare() does. */
[[nodiscard]] int compareTexts(std::string_view left,
                               std::string_view right) noexcept;

/**
 * Copies the start of what a spelling stands for, as many whole characters as
 * fit. Adds no NUL.
 * @return how many bytes were copied
 */
size_t copyText(std::string_view spelling, char* buffer, size_t size) noexcept;

/**
 * The spelling of a text. Quotes, backslashes and control characters are
 * escaped, nothing else.
 * @throws std::system_error with EILSEQ when the text is not UTF-8;
 *         std::bad_alloc
 */
[[nodiscard]] std::string quoted(std::string_view text);

} // namespace ostrel
