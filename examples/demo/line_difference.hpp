#pragma once

#include <string>
#include <vector>

namespace demo
{

/**
 * What made one text of another: the lines that are gone (`- `), the new ones
 * (`+ `), and beside them the lines that stayed (`  `). Lines further off are
 * left out; `  ...` stands for them.
 */
std::vector<std::string> lineDifference(const std::vector<std::string>& before,
                                        const std::vector<std::string>& after);

} // namespace demo
