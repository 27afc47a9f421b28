// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "torture/experiment.hpp"

#include <sys/types.h>

#include <functional>
#include <string>

namespace torture::access
{

enum class As
{
    root,
    nobody //!< a user and a group without any rights
};

inline constexpr uid_t nobody = 65534;

/** Changes the calling process to that user, with umask 022. */
void become(As as);

/**
 * Runs the work in a child of that user. Returns the text that the work
 * returned, or "threw " and the text of the system error that it threw, or
 * "hangs" if it has not ended after ten seconds and is killed.
 */
std::string act(As as, const std::function<std::string()>& work);

} // namespace torture::access
