// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "torture/experiment.hpp"

namespace torture::access
{

/** A user without rights reads what is readable and changes nothing. */
void actUnprivileged(const Plan& plan, Report& report);

/** A file planted in place of another leads to no harm. */
void plant(const Plan& plan, Report& report);

/** What other users can do if they can write to the lock directory. */
void shareTheLockDirectory(const Plan& plan, Report& report);

/** Any text as a name or value harms no other record. */
void nameHostilely(const Plan& plan, Report& report);

/** Where the backup of a firmware with a hostile name is written. */
void nameBackups(const Plan& plan, Report& report);

/** An executed program inherits no descriptor of the library. */
void execute(const Plan& plan, Report& report);

} // namespace torture::access
