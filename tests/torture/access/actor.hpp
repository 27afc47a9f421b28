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
    nobody //!< a user and a group without any right of their own
};

inline constexpr uid_t nobody = 65534;

/** The calling process is that user's from now on, with umask 022. */
void become(As as);

/**
 * Lets a child of that user act. The text is what the work
 * returned; "threw " and the text of a system error that left it; "hangs" when
 * it has not ended after ten seconds, and is killed.
 */
std::string act(As as, const std::function<std::string()>& work);

} // namespace torture::access
