// SPDX-License-Identifier: MIT
#include "testkit/PTestClock.h"

#include "helpers/PTimer.h"
#include "sdk/Thrown.h"

#include <gmock/gmock.h>

#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <vector>

namespace
{
using namespace std::chrono_literals;
using testing::HasSubstr;

TEST(TestClockTest, TimeStandsStillUntilItIsAdvanced)
{
    PTestClock clock;
    const auto begin = clock.now();
    EXPECT_EQ(begin, clock.now());
    clock.advance(1h);
    EXPECT_EQ(begin + 1h, clock.now());
}

TEST(TestClockTest, SettleWaitsForTheTasksOfAllWorkers)
{
    PTestClock clock;
    PWorker first(L"first");
    PWorker second(L"second");
    int steps = 0; // not synchronised: the tasks run one after the other, and settle waits for them
    EXPECT_EQ(0, first.post(
                     [&]
                     {
                         ++steps;
                         EXPECT_EQ(0, second.post(
                                          [&]
                                          {
                                              ++steps;
                                              EXPECT_EQ(0, first.post([&] { ++steps; }));
                                          }));
                     }));
    clock.settle();
    EXPECT_EQ(3, steps);
}

TEST(TestClockTest, TimersOfSeveralWorkersFireInTheOrderOfTheirTimes)
{
    PTestClock clock;
    PWorker workers[] = {PWorker(L"0"), PWorker(L"1"), PWorker(L"2")};
    std::vector<std::unique_ptr<PTimer>> timers;
    std::string fired; // not synchronised: the clock orders what it fires
    for (int i = 0; i < 3; ++i)
    {
        timers.push_back(std::make_unique<PTimer>(workers[i]));
        EXPECT_EQ(0, timers.back()->every(std::chrono::milliseconds(7 - 2 * i),
                                          [&fired, i] { fired += std::to_string(i); }));
    }
    clock.advance(15ms);
    // At 3, 5, 6, 7, 9, 10, 12, 14 and 15 ms; of those at once the worker that started first.
    EXPECT_EQ("2120212012", fired);
}

TEST(TestClockTest, LoopsOfAWorkerSleepInVirtualTime)
{
    PTestClock clock;
    PWorker worker(L"loop");
    int rounds = 0;
    EXPECT_EQ(0, worker.post(
                     [&]
                     {
                         while (worker.sleep(1min))
                         {
                             ++rounds;
                         }
                     }));
    clock.advance(10min);
    EXPECT_EQ(10, rounds);
}

TEST(TestClockTest, ReportsAWorkerThatIsBusy)
{
    PTestClock clock;
    std::promise<void> leave;
    PWorker worker(L"jobs");
    EXPECT_EQ(0, worker.post([&] { leave.get_future().wait(); }));
    EXPECT_THAT(textThrown([&] { clock.settle(1ms); }), HasSubstr("still busy after 1 ms: jobs;"));
    leave.set_value();
    clock.settle();
}

TEST(TestClockTest, OneAtATime)
{
    {
        const PTestClock first;
        EXPECT_THAT(textThrown([] { const PTestClock second; }),
                    HasSubstr("another PTestClock exists"));
    }
    const PTestClock next;
}

TEST(TestClockTest, WorkersThatOutliveItEnd)
{
    auto clock = std::make_unique<PTestClock>();
    PWorker worker(L"jobs");
    PTimer timer(worker);
    EXPECT_EQ(0, timer.every(1ms, [] {}));
    clock.reset();
    EXPECT_EQ(0, worker.post([] {}));
    worker.end();
}

TEST(TestClockTest, LaterWorkersUseTheTimeOfTheSystem)
{
    {
        const PTestClock clock;
    }
    PWorker worker(L"jobs");
    PTimer timer(worker);
    std::promise<void> fired;
    EXPECT_EQ(0, timer.once(1ms, [&] { fired.set_value(); }));
    EXPECT_EQ(std::future_status::ready, fired.get_future().wait_for(30s));
}
} // namespace
