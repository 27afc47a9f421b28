#pragma once

#include <libfenmarch.hpp>

#include <string>
#include <string_view>
#include <vector>

/** The words of a line. */
using Words = std::vector<std::string>;

/** What can be asked about a firmware: `WORD NAME ARGUMENTS`. */
struct Request
{
    std::string_view word;
    /** Serves it and says what there is to say.
     *  @return the status, where 0 is success
     *  @throws std::out_of_range when an argument is missing */
    int (*serve)(phosphor::software::updater::FwManager& firmware,
                 const Words& arguments);
};

/** The request of that word, or none. */
const Request* findRequest(std::string_view word);
