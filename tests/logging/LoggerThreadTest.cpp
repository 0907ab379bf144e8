// SPDX-License-Identifier: MIT
#include "logging/LoggingTest.h"
#include "logging/PGate.h"
#include "support/SleepingThread.h"

#include <atomic>
#include <barrier>
#include <functional>
#include <thread>
#include <unistd.h>

namespace
{
class LoggerThreads : public LoggingTest
{
protected:
    enum
    {
        eThreads = 8,
        eRounds = 200
    };

    /// Runs iAction(number of the thread) on all threads at once; iMeanwhile on this one.
    static void run(
        const std::function<void(int)>& iAction, const std::function<void()>& iMeanwhile = [] {})
    {
        std::barrier<> start(eThreads + 1);
        std::vector<std::jthread> threads;
        threads.reserve(eThreads);
        for (int number = 0; number < eThreads; ++number)
        {
            threads.emplace_back(
                [&start, &iAction, number]
                {
                    start.arrive_and_wait();
                    iAction(number);
                });
        }
        start.arrive_and_wait();
        iMeanwhile();
    }
};
} // namespace

TEST_F(LoggerThreads, RequestWriteAndReleaseLoggersAtOnce)
{
    plugin->init();

    run(
        [this](int iNumber)
        {
            for (int i = 0; i < eRounds; ++i)
            {
                const PBaseptr<ILogger> logger = get("log" + std::to_string((iNumber + i) % 3));
                EXPECT_EQ(0, logger->info(0, L"%d/%d", iNumber, i));
            }
        });

    std::size_t written = 0;
    for (const char* name : {"log0", "log1", "log2"})
    {
        written += texts(name).size();
    }
    EXPECT_EQ(std::size_t{eThreads} * eRounds, written);
}

TEST_F(LoggerThreads, ShareOneHolderGroup)
{
    plugin->init();
    const PBaseptr<ILogger> kept = get("a");

    run(
        [this, &kept](int)
        {
            for (int i = 0; i < eRounds; ++i)
            {
                const PBaseptr<ILogger> copy(kept);
                EXPECT_EQ(kept.get(), get("a").get());
            }
        });

    EXPECT_EQ(2u, kept.holders());
}

TEST_F(LoggerThreads, RequestLoggersWhileThePluginEnds)
{
    for (int round = 0; round < 20; ++round)
    {
        PBaseptr<PLoggerPlugin> ending = PBaseptr<PLoggerPlugin>::adopt(new PLoggerPlugin);
        ASSERT_EQ(0, ending->init());
        PBaseptr<ILogger> logger;
        ASSERT_EQ(0, ending->getLogger(L"kept", logger));

        run(
            [&logger](int iNumber)
            {
                int result = 0;
                while (result == 0)
                {
                    PBaseptr<ILogger> sibling;
                    const PString name = wide("log" + std::to_string(iNumber % 3));
                    result = logger->getLogger(name, sibling);
                    EXPECT_EQ(result == 0, sibling.get() != nullptr);
                }
                EXPECT_EQ(eIxlaNoInstance, result);
            },
            [&ending] { ending.clear(); });

        EXPECT_EQ(0, logger->info(0, L"after"));
    }
    EXPECT_EQ(20u, texts("kept").size());
}

TEST_F(LoggerThreads, GateWaitsForCallsInside)
{
    const pid_t closing = gettid();
    PGate gate;
    std::atomic<bool> left{false};
    std::atomic<int> refused{0};
    ASSERT_TRUE(gate.enter());

    std::jthread inside(
        [&]
        {
            // enter fails only when the other thread closes the gate.
            while (gate.enter())
            {
                gate.leave();
                std::this_thread::yield();
            }
            ++refused;
            EXPECT_TRUE(waitUntilAsleep(closing));
            left = true;
            gate.leave();
        });
    gate.close();

    EXPECT_TRUE(left);
    EXPECT_EQ(1, refused);
    EXPECT_FALSE(gate.enter());
}
