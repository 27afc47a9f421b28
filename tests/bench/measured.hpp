// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

/**
 * Runs an operation twice: to warm up, and between two marks that strace sees
 * ("/operation begins" and "/operation ends"). The second run is the only call
 * of measuredOperation(), which callgrind is set to count.
 */
void measure(const std::function<void()>& operation);

/** Runs the operation; never inlined. */
extern "C" void measuredOperation(const std::function<void()>& operation);
