// SPDX-License-Identifier: MIT
#include "portinglayer/PCounter.h"
#include "portinglayer/PCounterSync.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace
{
template <class TCall>
void onFourThreads(const TCall& iCall)
{
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i)
    {
        threads.emplace_back(iCall);
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
}
} // namespace

TEST(Counter, ChangesReturnTheNewValue)
{
    PCounter counter(0);

    EXPECT_EQ(1, ++counter);
    EXPECT_EQ(2, ++counter);
    EXPECT_EQ(1, counter.change(-1));
    EXPECT_EQ(0, counter.change(-1));
}

TEST(CounterSync, ChangesReturnTheNewValue)
{
    PCounterSync counter(0);

    EXPECT_EQ(1, ++counter);
    EXPECT_EQ(0, counter.change(-1));
    EXPECT_EQ(5, counter.change(5));
}

TEST(CounterSync, NoChangeOfAnyThreadIsLost)
{
    PCounterSync counter(0);
    onFourThreads(
        [&counter]
        {
            for (int i = 0; i < 10000; ++i)
            {
                ++counter;
                counter.change(-1);
                ++counter;
            }
        });

    EXPECT_EQ(40000, counter.change(0));
}

TEST(CounterSync, ExactlyOneThreadGetsZero)
{
    PCounterSync counter(4);
    std::atomic<int> zeros{0};
    onFourThreads([&] { zeros += counter.change(-1) == 0; });

    EXPECT_EQ(1, zeros);
}
