#pragma once

#include <string>
#include <string_view>

namespace ostrel
{

/**
 * A JSON string of this text, in its quotes.
 * @throws std::system_error with EILSEQ when the text is no UTF-8;
 *         std::bad_alloc
 */
[[nodiscard]] std::string stringJson(std::string_view text);

/**
 * The same JSON with a line for each member and element, indented by four
 * spaces a level.
 * @param json  valid, and without blanks between its tokens
 */
[[nodiscard]] std::string indented(std::string_view json);

} // namespace ostrel
