// SPDX-License-Identifier: Apache-2.0

// One fault for each tool of scripts/analyze, which has to find it: a tool that
// finds nothing here finds nothing elsewhere.

#include <cstdio>
#include <string>
#include <thread>

/** For clang-tidy: the error is lost. */
void ignoredError()
{
    std::fputs("text", stdout);
}

/** For cppcheck: there is no fourth element. */
int outOfBounds()
{
    const int numbers[] = {1, 2, 3};
    return numbers[3];
}

/** For the analyzer of gcc. */
int useAfterDelete()
{
    auto* number = new int(1);
    delete number;
    return *number;
}

/** For clang, which warns where gcc does not: a field that nothing uses. */
class Record
{
    int number = 1;
};

/** For ThreadSanitizer. */
int race()
{
    int number = 0;
    std::thread other([&] { ++number; });
    ++number;
    other.join();
    return number == 2 ? 0 : 1;
}

/** For memcheck. */
int leak()
{
    auto* lost = new int(1);
    *lost = 0;
    lost = new int(2);
    delete lost;
    return 0;
}

int main(int, char** arguments)
{
    return std::string(arguments[1]) == "race" ? race() : leak();
}
