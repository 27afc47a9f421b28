// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>

/**
 * What a target defines: runs the operation under test on one input and checks
 * the answer. Called by libFuzzer, and for each seed of the corpus by the
 * ordinary tests.
 *
 * @return 0
 * @throws fuzz::Failure for a property that does not hold
 */
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size);

namespace fuzz
{

/** A property that does not hold. */
class Failure : public std::logic_error
{
    using std::logic_error::logic_error;
};

/** @throws Failure unless it holds */
inline void require(bool holds, const char* property)
{
    if (!holds)
    {
        throw Failure(property);
    }
}

inline int sabotageAskedFor() noexcept
{
    const char* const number = std::getenv("FUZZ_SABOTAGE");
    return number != nullptr
               ? static_cast<int>(std::strtol(number, nullptr, 10))
               : 0;
}

/**
 * Proves that a target can fail: with a number from 1 to `sabotages`, the
 * target breaks an answer of the library in a small way before it checks it.
 * 0 is the ordinary run.
 */
inline int sabotage = sabotageAskedFor();

/** How many ways the target has; defined by each. */
extern const int sabotages;

} // namespace fuzz
