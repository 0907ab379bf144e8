// SPDX-License-Identifier: MIT
#include "port/Gate.h"
#include "portinglayer/PLockGuard.h"
#include "portinglayer/PMutex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

// No analysis, because these tests use the lock wrongly on purpose.
#if defined(__clang__)
#pragma clang diagnostic ignored "-Wthread-safety-analysis"
#endif

namespace
{
/// The result of iCall on another thread.
template <class TCall>
int onOtherThread(const TCall& iCall)
{
    int res = 0;
    std::thread([&] { res = iCall(); }).join();
    return res;
}

class MutexTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(0, mutex.init(true));
    }

    PMutex mutex;
};
} // namespace

TEST(ClosedMutex, RefusesEverything)
{
    PMutex mutex;

    EXPECT_EQ(-22, mutex.lock());
    EXPECT_EQ(-22, mutex.unlock());
    EXPECT_EQ(-22, mutex.close());
}

TEST(ClosedMutex, CanBeOpenedAgain)
{
    PMutex mutex;
    ASSERT_EQ(0, mutex.init(true));
    ASSERT_EQ(0, mutex.close());
    EXPECT_EQ(-22, mutex.lock());

    EXPECT_EQ(0, mutex.init(false));
    EXPECT_EQ(0, mutex.lock());
    EXPECT_EQ(0, mutex.unlock());
}

TEST_F(MutexTest, SecondOpeningIsRefused)
{
    EXPECT_EQ(-16, mutex.init(true));
}

TEST_F(MutexTest, HolderLocksRecursively)
{
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_EQ(0, mutex.lock());
    }
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_EQ(-16, mutex.close());
        EXPECT_EQ(0, mutex.unlock());
    }

    EXPECT_EQ(-1, mutex.unlock());
    EXPECT_EQ(0, mutex.close());
}

TEST_F(MutexTest, NonRecursiveMutexRefusesItsHolder)
{
    PMutex plain;
    ASSERT_EQ(0, plain.init(false));
    ASSERT_EQ(0, plain.lock());

    EXPECT_EQ(-35, plain.lock());
    EXPECT_EQ(0, plain.unlock());
    EXPECT_EQ(-1, plain.unlock());
}

TEST_F(MutexTest, OnlyTheHolderUnlocks)
{
    ASSERT_EQ(0, mutex.lock());

    EXPECT_EQ(-1, onOtherThread([this] { return mutex.unlock(); }));
    EXPECT_EQ(0, mutex.unlock());
}

TEST_F(MutexTest, IsNotClosedWhileAnotherThreadHoldsIt)
{
    ASSERT_EQ(0, mutex.lock());

    EXPECT_EQ(-16, onOtherThread([this] { return mutex.close(); }));
    EXPECT_EQ(0, mutex.unlock());
    EXPECT_EQ(0, mutex.close());
}

TEST_F(MutexTest, OtherThreadsWaitForTheLastUnlock)
{
    std::atomic<bool> released{false};
    Gate started;
    ASSERT_EQ(0, mutex.lock());
    ASSERT_EQ(0, mutex.lock());
    std::thread other(
        [&]
        {
            started.open();
            EXPECT_EQ(0, mutex.lock());
            EXPECT_TRUE(released);
            EXPECT_EQ(0, mutex.unlock());
        });
    EXPECT_TRUE(started.pass());
    EXPECT_EQ(0, mutex.unlock());
    std::this_thread::yield();
    released = true;
    EXPECT_EQ(0, mutex.unlock());
    other.join();
}

TEST_F(MutexTest, ExcludesOtherThreads)
{
    int count = 0;
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i)
    {
        threads.emplace_back(
            [&]
            {
                for (int round = 0; round < 2000; ++round)
                {
                    const PLockGuard outer(mutex);
                    const PLockGuard inner(mutex);
                    ++count;
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }

    EXPECT_EQ(8000, count);
}

TEST_F(MutexTest, GuardHoldsItForAScope)
{
    {
        const PLockGuard guard(mutex);
        EXPECT_EQ(0, guard.result());
        EXPECT_EQ(-16, mutex.close());
    }

    EXPECT_EQ(0, mutex.close());
}

TEST_F(MutexTest, GuardThatCouldNotLockLeavesTheLockOfItsCaller)
{
    PMutex once;
    ASSERT_EQ(0, once.init(false));
    ASSERT_EQ(0, once.lock());
    {
        const PLockGuard guard(once);
        EXPECT_EQ(-35, guard.result());
    }
    EXPECT_EQ(0, once.unlock());
}

TEST_F(MutexTest, GuardReportsAFailedLock)
{
    ASSERT_EQ(0, mutex.close());
    const PLockGuard guard(mutex);

    EXPECT_EQ(-22, guard.result());
}

TEST_F(MutexTest, GuardUnlocksEarlyOnlyOnce)
{
    ASSERT_EQ(0, mutex.lock());
    {
        PLockGuard guard(mutex);
        EXPECT_EQ(0, guard.unlock());
    }

    EXPECT_EQ(0, mutex.unlock());
}

TEST_F(MutexTest, GuardLeavesItLockedWhenAsked)
{
    {
        PLockGuard guard(mutex);
        guard.keepLocked();
    }

    EXPECT_EQ(-16, mutex.close());
    EXPECT_EQ(0, mutex.unlock());
}
