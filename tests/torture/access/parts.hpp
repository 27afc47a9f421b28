#pragma once

#include "torture/experiment.hpp"

namespace torture::access
{

/** A user without rights reads what is readable and changes nothing. */
void actUnprivileged(const Plan& plan, Report& report);

/** What lies in the place of a file is not followed into harm. */
void plant(const Plan& plan, Report& report);

/** What others can do where they may write beside the lock file. */
void shareTheLockDirectory(const Plan& plan, Report& report);

/** Any text as a name or value harms no other record. */
void nameHostilely(const Plan& plan, Report& report);

/** Where the backup of a firmware with such a name lies. */
void nameBackups(const Plan& plan, Report& report);

/** A program that is executed gets none of the library's descriptors. */
void execute(const Plan& plan, Report& report);

} // namespace torture::access
