// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace support
{

/** The text of the exception of this type that the work throws, or "nothing
 *  thrown". */
template <typename Exception, typename Work>
std::string thrownText(Work work)
{
    try
    {
        work();
    }
    catch (const Exception& e)
    {
        return e.what();
    }
    return "nothing thrown";
}

} // namespace support
