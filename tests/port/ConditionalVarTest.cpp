// SPDX-License-Identifier: MIT
#include "portinglayer/PConditionalVar.h"
#include "portinglayer/PMutex.h"
#include "portinglayer/PTime.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

// No analysis, because these tests use the lock wrongly on purpose.
#if defined(__clang__)
#pragma clang diagnostic ignored "-Wthread-safety-analysis"
#endif

namespace
{
constexpr unsigned int kLong = 60000;

class ConditionalVarTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(0, mutex.init(true));
        ASSERT_EQ(0, changed.init());
    }

    /// Waits until fDone, with the mutex held; the last result of waiting.
    int waitUntilDone()
    {
        int res = 0;
        while (!done && res == 0)
        {
            res = changed.wait(&mutex, kLong);
        }
        return res;
    }

    void finish()
    {
        EXPECT_EQ(0, mutex.lock());
        done = true;
        EXPECT_EQ(0, changed.notifyAll());
        EXPECT_EQ(0, mutex.unlock());
    }

    PMutex mutex;
    PConditionalVar changed;
    bool done = false;
};
} // namespace

TEST(ClosedConditionalVar, RefusesEverything)
{
    PMutex mutex;
    PConditionalVar changed;
    ASSERT_EQ(0, mutex.init(true));
    ASSERT_EQ(0, mutex.lock());

    EXPECT_EQ(-22, changed.wait(&mutex, 1));
    EXPECT_EQ(-22, changed.notifyAll());
    EXPECT_EQ(-22, changed.close());
    EXPECT_EQ(0, mutex.unlock());
}

TEST_F(ConditionalVarTest, OpensAgainAfterClosing)
{
    EXPECT_EQ(-16, changed.init());
    EXPECT_EQ(0, changed.close());
    EXPECT_EQ(-22, changed.close());
    EXPECT_EQ(0, changed.init());
}

TEST_F(ConditionalVarTest, NotifyWithoutWaitersSucceeds)
{
    EXPECT_EQ(0, changed.notifyAll());
}

TEST_F(ConditionalVarTest, WaitWithoutTheMutexIsRefused)
{
    EXPECT_EQ(-1, changed.wait(&mutex, 1));
    EXPECT_EQ(-22, changed.wait(nullptr, 1));
}

TEST_F(ConditionalVarTest, WaitEndsWhenTheLimitPassed)
{
    const long long start = PTime::getTickCount();
    ASSERT_EQ(0, mutex.lock());
    int res = 0;
    while (res == 0)
    {
        res = changed.wait(&mutex, 50);
    }

    EXPECT_EQ(-733, res);
    EXPECT_GE(PTime::getTickCountDiff(start, PTime::getTickCount()), 49);
    EXPECT_EQ(0, mutex.unlock());
}

TEST_F(ConditionalVarTest, WaitWithZeroLimitEndsAtOnce)
{
    ASSERT_EQ(0, mutex.lock());

    EXPECT_EQ(-733, changed.wait(&mutex, 0));
    EXPECT_EQ(0, mutex.unlock());
}

TEST_F(ConditionalVarTest, LongestLimitDoesNotPassAtOnce)
{
    ASSERT_EQ(0, mutex.lock());
    std::thread other([this] { finish(); });
    int res = 0;
    while (!done && res == 0)
    {
        res = changed.wait(&mutex, ~0u);
    }

    EXPECT_EQ(0, res);
    EXPECT_EQ(0, mutex.unlock());
    other.join();
}

TEST_F(ConditionalVarTest, NotifyWakesEveryWaiter)
{
    std::vector<std::thread> waiters;
    waiters.reserve(4);
    int waiting = 0;
    int woken = 0;
    for (int i = 0; i < 4; ++i)
    {
        waiters.emplace_back(
            [&]
            {
                EXPECT_EQ(0, mutex.lock());
                ++waiting;
                EXPECT_EQ(0, changed.notifyAll());
                EXPECT_EQ(0, waitUntilDone());
                ++woken;
                EXPECT_EQ(0, mutex.unlock());
            });
    }
    ASSERT_EQ(0, mutex.lock());
    while (waiting < 4 && changed.wait(&mutex, kLong) == 0)
    {
    }
    EXPECT_EQ(0, mutex.unlock());
    finish();
    for (std::thread& waiter : waiters)
    {
        waiter.join();
    }

    EXPECT_EQ(4, woken);
}

TEST_F(ConditionalVarTest, WaitReleasesARecursiveLockCompletely)
{
    ASSERT_EQ(0, mutex.lock());
    ASSERT_EQ(0, mutex.lock());
    ASSERT_EQ(0, mutex.lock());
    std::thread other([this] { finish(); });

    EXPECT_EQ(0, waitUntilDone());
    other.join();
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_EQ(0, mutex.unlock());
    }
}

TEST_F(ConditionalVarTest, WaitRestoresTheDepthOfTheLock)
{
    for (int i = 0; i < 3; ++i)
    {
        ASSERT_EQ(0, mutex.lock());
    }
    EXPECT_EQ(-733, changed.wait(&mutex, 1));

    for (int i = 0; i < 3; ++i)
    {
        EXPECT_EQ(0, mutex.unlock());
    }
    EXPECT_EQ(-1, mutex.unlock());
}
