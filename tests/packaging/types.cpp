// SPDX-License-Identifier: Apache-2.0

/* A part of a service that uses only the enumerations. */
#include <libfenmarch.hpp>

using phosphor::software::updater::Activations;
using phosphor::software::updater::VersionPurpose;

int main(int argc, char**)
{
    const auto purpose = argc == 1 ? VersionPurpose::BMC : VersionPurpose::Host;
    const auto state = argc == 1 ? Activations::Active : Activations::Staged;
    return purpose == VersionPurpose::BMC && state == Activations::Active ? 0
                                                                          : 1;
}
