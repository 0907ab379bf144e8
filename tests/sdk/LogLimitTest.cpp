// SPDX-License-Identifier: MIT
#include "helpers/PLogLimit.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <type_traits>
#include <vector>

namespace
{
using std::chrono::seconds;

class LogLimitTest : public testing::Test
{
protected:
    /// Whether a line is admitted iSeconds after the start, with an interval of ten seconds.
    bool admits(int iSeconds)
    {
        return fLimit.admits(PLogLimit::Clock::time_point(seconds(iSeconds)), seconds(10),
                             fSuppressed);
    }

    PLogLimit fLimit;
    unsigned int fSuppressed = 77;
};

TEST_F(LogLimitTest, AdmitsTheFirstLineAtAnyTime)
{
    EXPECT_TRUE(admits(-1000));
    EXPECT_EQ(0u, fSuppressed);
}

TEST_F(LogLimitTest, AdmitsALineWhenTheIntervalIsOver)
{
    EXPECT_TRUE(admits(100));
    EXPECT_FALSE(admits(100));
    EXPECT_FALSE(admits(109));
    EXPECT_TRUE(admits(110));
    EXPECT_FALSE(admits(119));
    EXPECT_TRUE(admits(500));
}

TEST_F(LogLimitTest, CountsTheLinesThatItRefuses)
{
    EXPECT_TRUE(admits(0));
    fSuppressed = 77;
    EXPECT_FALSE(admits(1));
    EXPECT_FALSE(admits(2));
    EXPECT_EQ(77u, fSuppressed);
    EXPECT_TRUE(admits(10));
    EXPECT_EQ(2u, fSuppressed);
    EXPECT_TRUE(admits(20));
    EXPECT_EQ(0u, fSuppressed);
}

TEST_F(LogLimitTest, UsesTheMonotonicClock)
{
    EXPECT_TRUE(fLimit.admits(std::chrono::hours(1), fSuppressed));
    EXPECT_FALSE(fLimit.admits(std::chrono::hours(1), fSuppressed));
    EXPECT_TRUE(PLogLimit::Clock::is_steady);
}

TEST_F(LogLimitTest, AdmitsOneOfManyThreadsAndCountsTheOthers)
{
    constexpr unsigned int kThreads = 8;
    constexpr unsigned int kLines = 1000;
    std::atomic<unsigned int> admitted{0};
    std::vector<std::thread> threads;
    for (unsigned int i = 0; i < kThreads; ++i)
    {
        threads.emplace_back(
            [&]
            {
                for (unsigned int line = 0; line < kLines; ++line)
                {
                    unsigned int suppressed = 0;
                    admitted += fLimit.admits(PLogLimit::Clock::time_point(seconds(1)), seconds(10),
                                              suppressed)
                                    ? 1
                                    : 0;
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(1u, admitted);
    EXPECT_TRUE(admits(11));
    EXPECT_EQ(kThreads * kLines - 1, fSuppressed);
}

// Threads may log while static objects are destroyed.
static_assert(std::is_trivially_destructible<PLogLimit>::value, "no destructor runs at the exit");
} // namespace
