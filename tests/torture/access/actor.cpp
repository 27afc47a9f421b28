// SPDX-License-Identifier: Apache-2.0
#include "actor.hpp"

#include "support/checked.hpp"
#include "support/child.hpp"
#include "support/descriptor.hpp"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <system_error>

namespace torture::access
{

namespace
{

using support::checked;
using support::Descriptor;

constexpr auto patience = std::chrono::seconds(10);

std::string outcomeOf(const std::function<std::string()>& work)
{
    try
    {
        return work();
    }
    catch (const std::system_error& e)
    {
        return "threw " + e.code().message();
    }
    catch (const std::exception& e)
    {
        return std::string("threw ") + e.what();
    }
}

/** Everything that is written until the pipe is closed, if that is soon. */
std::string readSoon(int pipe)
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    std::string text;
    while (true)
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd ready{pipe, POLLIN, 0};
        if (left.count() <= 0 ||
            ::poll(&ready, 1, static_cast<int>(left.count())) != 1)
        {
            return "hangs";
        }
        std::array<char, 4096> buffer{};
        const auto got =
            checked(::read(pipe, buffer.data(), buffer.size()), "read");
        if (got == 0)
        {
            return text;
        }
        text.append(buffer.data(), static_cast<size_t>(got));
    }
}

} // namespace

void become(As as)
{
    ::umask(022);
    if (as == As::nobody)
    {
        checked(::setgroups(0, nullptr), "setgroups");
        checked(::setresgid(nobody, nobody, nobody), "setresgid");
        checked(::setresuid(nobody, nobody, nobody), "setresuid");
    }
}

std::string act(As as, const std::function<std::string()>& work)
{
    std::array<int, 2> ends{};
    checked(::pipe2(ends.data(), O_CLOEXEC), "pipe2");
    const Descriptor reading(ends[0]);
    Descriptor writing(ends[1]);
    // Killed at the end of this function if it hangs.
    const support::Child child([&] {
        become(as);
        const std::string text = outcomeOf(work);
        checked(::write(writing.get(), text.data(), text.size()), "write");
        return 0;
    });
    writing = Descriptor();
    return readSoon(reading.get());
}

} // namespace torture::access
