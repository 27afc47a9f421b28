#pragma once

#include <version>

#ifdef __cpp_lib_source_location
#include <source_location>
#endif

namespace lg2
{
inline namespace fenmarch_subset
{
namespace details
{

#ifdef __cpp_lib_source_location

using Location = std::source_location;

#else

/** What std::source_location tells, for compilers that lack it. */
class Location
{
  public:
    static constexpr Location
    current(const char* file = __builtin_FILE(),
            unsigned lineNumber = __builtin_LINE(),
            const char* function = __builtin_FUNCTION())
    {
        return {file, lineNumber, function};
    }

    constexpr const char* file_name() const
    {
        return file;
    }

    constexpr unsigned line() const
    {
        return lineNumber;
    }

    constexpr const char* function_name() const
    {
        return function;
    }

  private:
    constexpr Location(const char* file, unsigned lineNumber,
                       const char* function) :
        file(file), lineNumber(lineNumber), function(function)
    {
    }

    const char* file;
    unsigned lineNumber;
    const char* function;
};

#endif

} // namespace details
} // namespace fenmarch_subset
} // namespace lg2
