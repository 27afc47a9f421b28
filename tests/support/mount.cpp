// SPDX-License-Identifier: Apache-2.0
#include "mount.hpp"

#include "checked.hpp"
#include "sandbox.hpp"

#include <gtest/gtest.h>

#include <sys/mount.h>

#include <cerrno>
#include <string>
#include <utility>

namespace support
{

namespace fs = std::filesystem;

namespace
{

/** Ends the running test. GoogleTest knows this exception and reports no other
 *  failure for it. */
[[noreturn]] void skipTest(const std::string& reason)
{
    [&] { GTEST_SKIP() << reason; }();
    using testing::TestPartResult;
    throw testing::AssertionException(TestPartResult(
        TestPartResult::kSkip, __FILE__, __LINE__, reason.c_str()));
}

void mounted(int result, const std::string& what)
{
    if (result != 0 && inPlaceIsAskedFor() &&
        (errno == EPERM || errno == EACCES))
    {
        skipTest("in place, without the right to mount: " + what);
    }
    checked(result, what);
}

} // namespace

Mount Mount::tmpfs(const fs::path& point, std::size_t sizeBytes)
{
    const std::string options = "size=" + std::to_string(sizeBytes);
    mounted(::mount("tmpfs", point.c_str(), "tmpfs", 0, options.c_str()),
            "tmpfs on " + point.string());
    return Mount(point);
}

Mount Mount::onItself(const fs::path& point)
{
    mounted(::mount(point.c_str(), point.c_str(), "none", MS_BIND, nullptr),
            "bind of " + point.string());
    return Mount(point);
}

Mount::Mount(fs::path mountPoint) : point(std::move(mountPoint))
{
}

Mount::~Mount()
{
    if (!point.empty())
    {
        ::umount2(point.c_str(), MNT_DETACH);
    }
}

Mount::Mount(Mount&& other) noexcept :
    point(std::exchange(other.point, fs::path()))
{
}

void Mount::makeReadOnly() const
{
    checked(::mount(nullptr, point.c_str(), "none",
                    MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr),
            "read-only " + point.string());
}

} // namespace support
