// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <phosphor-logging/lg2/statement.hpp>

#include <syslog.h>

#include <source_location>
#include <utility>

/*
 * Structured log records:
 *
 *     lg2::error("Set {NAME} version failed: {ERROR}", "NAME", name, "ERROR",
 *                exception);
 *
 * sends one record to the journal, with the fields MESSAGE (each {KEY}
 * replaced by its value), LOG2_FMTMSG (the text as written), PRIORITY,
 * CODE_FILE, CODE_LINE and CODE_FUNC of the caller, and NAME and ERROR. A copy
 * of the form "<PRIORITY> MESSAGE" goes to standard error if that was a
 * terminal or LG2_FORCE_STDERR was set when the program was loaded.
 *
 * A std::source_location before the text replaces the caller's location.
 *
 * Keys and the types of values are checked while compiling; value.hpp lists
 * the types. A record that cannot be sent is lost.
 *
 * The inline namespace gives the subset linker names of its own, so that it
 * never meets a definition of the real package in the same process.
 */
namespace lg2
{
inline namespace fenmarch_subset
{

namespace details
{

template <int priority, typename... Arguments>
using StatementOf =
    Statement<priority, std::index_sequence_for<Arguments...>, Arguments...>;

} // namespace details

template <typename... Arguments>
struct error : details::StatementOf<LOG_ERR, Arguments...>
{
    using Base = details::StatementOf<LOG_ERR, Arguments...>;
    using Base::Base;
};

template <typename... Arguments>
explicit error(const char*, const Arguments&...) -> error<Arguments...>;

template <typename... Arguments>
explicit error(const std::source_location&, const char*, const Arguments&...)
    -> error<Arguments...>;

template <typename... Arguments>
struct info : details::StatementOf<LOG_INFO, Arguments...>
{
    using Base = details::StatementOf<LOG_INFO, Arguments...>;
    using Base::Base;
};

template <typename... Arguments>
explicit info(const char*, const Arguments&...) -> info<Arguments...>;

template <typename... Arguments>
explicit info(const std::source_location&, const char*, const Arguments&...)
    -> info<Arguments...>;

} // namespace fenmarch_subset
} // namespace lg2
