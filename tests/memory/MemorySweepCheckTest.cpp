// SPDX-License-Identifier: MIT
#include "support/AllocationFaults.h"
#include "support/AllocationSweep.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <memory>
#include <new>

using testing::ElementsAre;
using testing::IsEmpty;

// Operations with one error each, and the sweep's report of it.

namespace
{
/// Allocates two blocks while it runs, and fails correctly.
int _goodOperation()
{
    const std::unique_ptr<int> first(new (std::nothrow) int);
    const std::unique_ptr<int> second(first ? new (std::nothrow) int : nullptr);
    return second ? 0 : -501;
}

std::vector<std::string> _problems(const AllocationSweep& iSweep)
{
    return trySweep(iSweep).problems;
}
} // namespace

TEST(MemorySweepCheck, GoodOperationHasAllItsPointsAndNoProblem)
{
    const AllocationSweepResult result = trySweep({.operation = "good", .run = &_goodOperation});

    EXPECT_THAT(result.problems, IsEmpty());
    EXPECT_EQ(2, result.points);
}

TEST(MemorySweepCheck, OperationThatLeaksOnFailureIsReported)
{
    std::vector<int*> leaked;
    leaked.reserve(100);
    const auto leaky = [&leaked]
    {
        int* const first = new (std::nothrow) int;
        const std::unique_ptr<int> second(first ? new (std::nothrow) int : nullptr);
        if (first && !second)
        {
            leaked.push_back(first);
            return -501;
        }
        delete first;
        return second ? 0 : -501;
    };

    EXPECT_THAT(_problems({.operation = "leaky", .run = leaky}),
                ElementsAre("without allocation 2: leaks 1 blocks"));
    for (int* block : leaked)
    {
        delete block;
    }
}

TEST(MemorySweepCheck, OperationThatLeaksFromMallocIsReported)
{
    if (!AllocationFaults::reachesMalloc())
    {
        GTEST_SKIP() << "malloc is not replaced in this build";
    }
    std::vector<void*> leaked;
    leaked.reserve(100);
    const auto leaky = [&leaked]
    {
        void* const first = std::malloc(10);
        void* const second = first ? std::malloc(10) : nullptr;
        std::free(second);
        if (first && !second)
        {
            leaked.push_back(first);
            return -501;
        }
        std::free(first);
        return second ? 0 : -501;
    };

    EXPECT_THAT(_problems({.operation = "leaky", .run = leaky}),
                ElementsAre("without allocation 2: leaks 1 blocks"));
    for (void* block : leaked)
    {
        std::free(block);
    }
}

TEST(MemorySweepCheck, OperationThatThrowsIsReported)
{
    // Called directly, so that the compiler must not omit it.
    const auto throwing = []
    {
        operator delete(operator new(10));
        return 0;
    };

    EXPECT_THAT(_problems({.operation = "throwing", .run = throwing}),
                ElementsAre("without allocation 1: lets an exception out"));
}

TEST(MemorySweepCheck, OperationThatIgnoresTheFailureIsReported)
{
    const auto swallowing = []
    {
        static_cast<void>(_goodOperation());
        return 0;
    };

    EXPECT_THAT(_problems({.operation = "swallowing", .run = swallowing}),
                ElementsAre("without allocation 1: swallows the failure"));
    EXPECT_THAT(
        _problems({.operation = "sparing", .run = swallowing, .spares = "it needs no block"}),
        IsEmpty());
}

TEST(MemorySweepCheck, OperationThatReturnsAnotherCodeIsReported)
{
    const auto other = []
    {
        return _goodOperation() == 0 ? 0 : -12;
    };

    EXPECT_THAT(_problems({.operation = "other", .run = other}),
                ElementsAre("without allocation 1: returns -12"));
}

TEST(MemorySweepCheck, OperationThatStaysFailedIsReported)
{
    bool failed = false;
    const auto broken = [&failed]
    {
        failed = failed || _goodOperation() != 0;
        return failed ? -501 : 0;
    };

    EXPECT_THAT(_problems({.operation = "broken", .run = broken}),
                ElementsAre("without allocation 1: fails with memory back: -501"));
}

TEST(MemorySweepCheck, OperationThatFailsOnlyWhenAllLaterAllocationsFailIsReported)
{
    // Its second attempt succeeds if only one allocation fails.
    const auto retrying = []
    {
        const bool succeeded = _goodOperation() == 0;
        return succeeded || _goodOperation() == 0 ? 0 : -12;
    };

    EXPECT_THAT(_problems({.operation = "retrying", .run = retrying, .spares = "it tries again"}),
                ElementsAre("from allocation 1: returns -12"));
}

TEST(MemorySweepCheck, OperationThatNeverSucceedsIsReported)
{
    EXPECT_THAT(_problems({.operation = "never",
                           .run =
                               []
                           {
                               return -501;
                           }}),
                ElementsAre("fails with memory: -501", "fails with memory: -501"));
}
