// SPDX-License-Identifier: MIT
#include "helpers/PSingleRun.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

namespace
{
TEST(SingleRunTest, RunsOnceForACall)
{
    PSingleRun single;
    int runs = 0;
    single.run([&] { ++runs; });
    single.run([&] { ++runs; });
    EXPECT_EQ(2, runs);
}

TEST(SingleRunTest, RunsAgainForCallsThatComeMeanwhile)
{
    PSingleRun single;
    int runs = 0;
    const auto nothing = [] {
    };
    single.run(
        [&]
        {
            if (++runs == 1)
            {
                single.run(nothing);
                single.run(nothing);
            }
        });
    EXPECT_EQ(2, runs);
}

TEST(SingleRunTest, RunsAgainAfterAnException)
{
    PSingleRun single;
    EXPECT_THROW(single.run([] { throw std::runtime_error("why"); }), std::runtime_error);
    int runs = 0;
    single.run([&] { ++runs; });
    EXPECT_EQ(1, runs);
}

TEST(SingleRunTest, SeesTheLastChangeOfSeveralThreads)
{
    PSingleRun single;
    std::atomic<int> changes(0);
    std::atomic<int> inside(0);
    int seen = 0;
    const auto look = [&]
    {
        EXPECT_EQ(1, ++inside);
        seen = changes;
        --inside;
    };
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i)
    {
        threads.emplace_back(
            [&]
            {
                for (int change = 0; change < 1000; ++change)
                {
                    ++changes;
                    single.run(look);
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(4000, seen);
}
} // namespace
