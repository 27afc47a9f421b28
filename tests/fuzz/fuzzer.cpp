// SPDX-License-Identifier: Apache-2.0
#include "support/sandbox.hpp"

// Called by libFuzzer first: what the library logs and writes stays inside.
extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    support::enterSandbox();
    return 0;
}
