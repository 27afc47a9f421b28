#pragma once

#include "document.hpp"

#include <string_view>

namespace ostrel
{

/**
 * Reads a document from its JSON text (RFC 8259), strictly: no key twice in an
 * object, no byte order mark, no more than 2048 levels, no number outside the
 * range of a double.
 *
 * @throws std::system_error with EBADMSG; std::bad_alloc, with nothing left
 *         behind
 */
[[nodiscard]] Document readDocument(std::string_view text);

} // namespace ostrel
