// SPDX-License-Identifier: Apache-2.0
#include "support/bus_that_hangs_up.hpp"
#include "support/library_test.hpp"

#include <libfenmarch.hpp>

#include <cstdlib>
#include <new>

namespace
{

/** Whether the next large allocation of the thread fails, once. */
thread_local bool failNext = false;

// The full name of an enumerator, and the name that a connection gets here, are
// longer than what fits without memory.
constexpr size_t largeBytes = 32;

} // namespace

[[gnu::noinline]] void* operator new(size_t size)
{
    if (failNext && size >= largeBytes)
    {
        failNext = false;
        throw std::bad_alloc();
    }
    if (void* const memory = std::malloc(size))
    {
        return memory;
    }
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, size_t) noexcept
{
    std::free(memory);
}

namespace
{

using namespace phosphor::software::updater;
using support::errorRecord;

using ConversionMemory = support::LibraryTest;

TEST_F(ConversionMemory, PurposeIsLoggedAndHasNoName)
{
    failNext = true;
    EXPECT_EQ(getNameFromVersionPurpose(VersionPurpose::BMC), "");
    EXPECT_EQ(
        logged(),
        std::vector{errorRecord(
            "Failed get name from version purpose "
            "xyz.openbmc_project.Software.Version.VersionPurpose.BMC!",
            "Failed get name from version purpose {PURPOSE}!",
            {{"PURPOSE",
              "xyz.openbmc_project.Software.Version.VersionPurpose.BMC"}})});
}

TEST_F(ConversionMemory, ActivationIsLoggedAndHasNoName)
{
    failNext = true;
    EXPECT_EQ(getNameFromActivations(Activations::Staged), "");
    EXPECT_EQ(
        logged(),
        std::vector{errorRecord(
            "Failed get name from activation "
            "xyz.openbmc_project.Software.Activation.Activations.Staged!",
            "Failed get name from activation {ACTIVATION}!",
            {{"ACTIVATION",
              "xyz.openbmc_project.Software.Activation.Activations.Staged"}})});
}

TEST_F(ConversionMemory, NameOfAPurposeIsLoggedAndIsUnknown)
{
    failNext = true;
    EXPECT_EQ(getVersionPurposeFromName("BMC"), VersionPurpose::Unknown);
    EXPECT_FALSE(failNext);
    EXPECT_EQ(logged(), std::vector{errorRecord(
                            "Failed get version purpose from name BMC!",
                            "Failed get version purpose from name {NAME}!",
                            {{"NAME", "BMC"}})});
}

TEST_F(ConversionMemory, NameOfAnActivationIsLoggedAndHasValueZero)
{
    failNext = true;
    EXPECT_EQ(getActivationsFromName("Staged"), static_cast<Activations>(0));
    EXPECT_FALSE(failNext);
    EXPECT_EQ(logged(),
              std::vector{errorRecord("Failed get activation from name Staged!",
                                      "Failed get activation from name {NAME}!",
                                      {{"NAME", "Staged"}})});
}

using ConstructionMemory = support::LibraryTest;

TEST_F(ConstructionMemory, NameOfTheConnectionLeavesTheConstructor)
{
    systemBus().stop();
    {
        const support::BusThatHangsUp bus(
            ":1.0123456789012345678901234567890123456789");
        failNext = true;
        EXPECT_THROW(FwManager("BMC"), std::bad_alloc);
        EXPECT_FALSE(failNext);
        EXPECT_EQ(FwManager("BMC").name, "BMC");
    }
    systemBus().start();
}

} // namespace
