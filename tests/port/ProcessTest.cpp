// SPDX-License-Identifier: MIT
#include "portinglayer/PProcess.h"
#include "support/AllocationFaults.h"

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <sys/sysinfo.h>
#include <unistd.h>
#include <vector>

namespace
{
unsigned long long memoryUsage()
{
    unsigned long long bytes = 0;
    EXPECT_EQ(0, PProcess::getMemoryUsage(PProcess::getCurrentPID(), bytes));
    return bytes;
}
} // namespace

TEST(Process, ReturnsItsId)
{
    EXPECT_EQ(static_cast<unsigned int>(getpid()), PProcess::getCurrentPID());
}

TEST(Process, MemoryUsageGrowsWithTouchedMemory)
{
    constexpr std::size_t size = 32u << 20;
    const unsigned long long before = memoryUsage();
    const std::vector<char> touched(size, 'x');

    EXPECT_GT(before, 0u);
    EXPECT_GT(memoryUsage(), before + size / 2);
    EXPECT_EQ('x', touched[size / 2]);
}

TEST(Process, ReservedMemoryIsNotUsedMemory)
{
    constexpr std::size_t size = 64u << 20;
    const unsigned long long before = memoryUsage();
    void* const reserved =
        mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);

    ASSERT_NE(MAP_FAILED, reserved);
    EXPECT_LT(memoryUsage(), before + size / 2);
    munmap(reserved, size);
}

TEST(Process, UnknownProcessIsReported)
{
    unsigned long long bytes = 7;

    EXPECT_EQ(-2, PProcess::getMemoryUsage(~0u, bytes));
    EXPECT_EQ(7u, bytes);
}

TEST(Process, FreeMemoryIsPartOfTheMachines)
{
    struct sysinfo info = {};
    ASSERT_EQ(0, sysinfo(&info));
    unsigned long long bytes = 0;

    EXPECT_EQ(0, PProcess::getFreeMemory(bytes));
    EXPECT_GT(bytes, 0u);
    EXPECT_LT(bytes, static_cast<unsigned long long>(info.totalram) * info.mem_unit);
}

TEST(Process, FiguresAreTakenWithoutAllocating)
{
    unsigned long long bytes = 0;
    AllocationFaults::startCounting();
    PProcess::getMemoryUsage(PProcess::getCurrentPID(), bytes);
    PProcess::getFreeMemory(bytes);

    EXPECT_EQ(0, AllocationFaults::counted());
}
