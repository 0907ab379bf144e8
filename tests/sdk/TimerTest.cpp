// SPDX-License-Identifier: MIT
#include "helpers/PTimer.h"

#include "support/AllocationFaults.h"
#include "support/CoreRun.h"
#include "support/PortFaults.h"

#include "helpers/PPlugin.h"
#include "testkit/PTestClock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
using namespace std::chrono_literals;

/// In virtual time.
class TimerTest : public testing::Test
{
protected:
    /// A callable that notes iName and the milliseconds since the begin of the test, then calls
    /// iThen.
    std::function<void()> note(
        const std::string& iName, const std::function<void()>& iThen = [] {})
    {
        return [this, iName, iThen]
        {
            add(iName);
            iThen();
        };
    }

    void add(const std::string& iName)
    {
        const auto time =
            std::chrono::duration_cast<std::chrono::milliseconds>(fClock.now() - fBegin);
        fFired.push_back(iName + std::to_string(time.count()));
    }

    /// What fires in iTime.
    std::vector<std::string> advance(std::chrono::milliseconds iTime)
    {
        fFired.clear();
        fClock.advance(iTime);
        return fFired;
    }

    typedef std::vector<std::string> Fired;

    PTestClock fClock;
    const PSleeper::Time fBegin = fClock.now();
    Fired fFired; ///< not synchronised: the clock orders what it fires
    PWorker fWorker{L"timers"};
};

TEST_F(TimerTest, FiresOnceAfterItsDelay)
{
    PTimer timer(fWorker);
    EXPECT_EQ(0, timer.once(20ms, note("a")));
    EXPECT_EQ(Fired{}, advance(19ms));
    EXPECT_EQ(Fired{"a20"}, advance(1ms));
    EXPECT_EQ(Fired{}, advance(1h));
}

TEST_F(TimerTest, WithoutDelayItFiresAtOnce)
{
    PTimer timer(fWorker);
    EXPECT_EQ(0, timer.once(0ms, note("a")));
    fClock.settle();
    EXPECT_EQ(Fired{"a0"}, fFired);
}

TEST_F(TimerTest, FiresInEveryPeriod)
{
    PTimer timer(fWorker);
    EXPECT_EQ(0, timer.every(10ms, note("a")));
    EXPECT_EQ((Fired{"a10", "a20", "a30"}), advance(39ms));
    EXPECT_EQ(Fired{"a40"}, advance(1ms));
}

TEST_F(TimerTest, TimersOfAWorkerFireInTheOrderOfTheirTimes)
{
    PTimer late(fWorker);
    PTimer early(fWorker);
    PTimer same(fWorker);
    EXPECT_EQ(0, late.once(30ms, note("late")));
    EXPECT_EQ(0, early.every(15ms, note("early")));
    EXPECT_EQ(0, same.once(30ms, note("same")));
    EXPECT_EQ((Fired{"early15", "late30", "same30", "early30"}), advance(30ms));
}

TEST_F(TimerTest, TasksOfItsWorkerDelayIt)
{
    PTimer timer(fWorker);
    EXPECT_EQ(0, timer.every(10ms, note("a")));
    // It occupies the thread for three and a half periods.
    EXPECT_EQ(0, fWorker.post([this] { EXPECT_TRUE(fWorker.sleep(35ms)); }));
    EXPECT_EQ((Fired{"a35", "a40", "a50"}), advance(50ms));
}

TEST_F(TimerTest, TimesThatPassWhileItsCallableRunsAreLeftOut)
{
    PTimer timer(fWorker);
    EXPECT_EQ(0, timer.every(10ms, note("a", [this] { fWorker.sleep(25ms); })));
    EXPECT_EQ((Fired{"a10", "a40", "a70"}), advance(70ms));
    fWorker.end(); // the last callable sleeps
}

TEST_F(TimerTest, EndIsFinalUntilItIsSetAgain)
{
    PTimer timer(fWorker);
    timer.end();
    EXPECT_EQ(0, timer.every(10ms, note("a")));
    EXPECT_EQ(Fired{"a10"}, advance(10ms));
    timer.end();
    EXPECT_EQ(Fired{}, advance(1h));
    EXPECT_EQ(0, timer.once(10ms, note("b")));
    EXPECT_EQ(Fired{"b3600020"}, advance(10ms));
}

TEST_F(TimerTest, AnotherTimeReplacesTheEarlierOne)
{
    PTimer timer(fWorker);
    EXPECT_EQ(0, timer.every(10ms, note("a")));
    EXPECT_EQ(0, timer.once(25ms, note("b")));
    EXPECT_EQ(Fired{"b25"}, advance(100ms));
}

TEST_F(TimerTest, ItsCallableMayEndIt)
{
    PTimer timer(fWorker);
    EXPECT_EQ(0, timer.every(10ms, note("a", [&] { timer.end(); })));
    EXPECT_EQ(Fired{"a10"}, advance(100ms));
}

TEST_F(TimerTest, ItsCallableMaySetItAgain)
{
    PTimer timer(fWorker);
    EXPECT_EQ(0, timer.every(10ms, note("a", [&] { EXPECT_EQ(0, timer.once(5ms, note("b"))); })));
    EXPECT_EQ((Fired{"a10", "b15"}), advance(100ms));
}

TEST_F(TimerTest, ItsCallableMayDestroyIt)
{
    auto timer = std::make_unique<PTimer>(fWorker);
    EXPECT_EQ(0, timer->every(10ms, note("a", [&] { timer.reset(); })));
    EXPECT_EQ(Fired{"a10"}, advance(100ms));
}

TEST_F(TimerTest, ItsCallableMayEndTheWorker)
{
    PTimer timer(fWorker);
    EXPECT_EQ(0, timer.every(10ms, note("a", [&] { fWorker.end(); })));
    EXPECT_EQ(Fired{"a10"}, advance(100ms));
    EXPECT_EQ(eIxlaNoInstance, timer.every(10ms, note("b")));
}

TEST_F(TimerTest, DestructorReleasesTheCallable)
{
    const auto held = std::make_shared<int>(1);
    {
        PTimer timer(fWorker);
        EXPECT_EQ(0, timer.every(10ms, [held] {}));
        fClock.advance(10ms);
        EXPECT_EQ(2, held.use_count());
    }
    EXPECT_EQ(1, held.use_count());
    PTimer once(fWorker);
    EXPECT_EQ(0, once.once(10ms, [held] {}));
    fClock.advance(10ms);
    EXPECT_EQ(1, held.use_count());
}

TEST_F(TimerTest, RefusesTimesThatAreNone)
{
    PTimer timer(fWorker);
    EXPECT_EQ(eIxlaInvalidArgument, timer.once(-1ms, note("a")));
    EXPECT_EQ(eIxlaInvalidArgument, timer.every(0ms, note("a")));
    EXPECT_EQ(eIxlaInvalidArgument, timer.every(-1ms, note("a")));
    EXPECT_EQ(eIxlaInvalidArgument, timer.once(std::chrono::milliseconds::max(), note("a")));
    EXPECT_EQ(0, timer.once(24h * 366 * 10, note("a")));
    EXPECT_EQ(Fired{}, advance(24h * 365 * 10));
}

TEST_F(TimerTest, FailedThreadStartReturnsItsCode)
{
    PTimer timer(fWorker);
    PortFaults::threadCreate.arm(-EAGAIN);
    EXPECT_EQ(-EAGAIN, timer.every(10ms, note("a")));
    PortFaults::reset();
    EXPECT_EQ(Fired{}, advance(100ms));
    EXPECT_EQ(0, timer.every(10ms, note("a")));
    EXPECT_EQ(Fired{"a110"}, advance(10ms));
}

TEST_F(TimerTest, LackOfMemoryReturnsACodeAndLeavesTheEarlierTime)
{
    PTimer timer(fWorker);
    EXPECT_EQ(0, timer.every(10ms, note("a")));
    AllocationFaults::failAfter(0);
    const int result = timer.every(5ms, [] {});
    AllocationFaults::disarm();
    EXPECT_EQ(eIxlaNoMemory, result);
    EXPECT_EQ(Fired{"a10"}, advance(10ms));
}

TEST_F(TimerTest, ExceptionOfItsCallableIsLoggedAndItContinues)
{
    CoreRun core;
    ASSERT_EQ(0, core.start());
    PTimer timer(fWorker);
    EXPECT_EQ(0, timer.every(10ms, [] { throw std::runtime_error("no disk"); }));
    fClock.advance(20ms);
    EXPECT_EQ(2, countLines(core.pluginLogFile(), "E pgs [timers] Exception: no disk"));
}

/// Fires until the exit; its own worker has the name of the timer.
class Beating : public PService<IBase>
{
public:
    explicit Beating(std::atomic<int>& ioBeats) : fBeats(ioBeats)
    {
    }

    int onInit() override
    {
        return fTimer.every(1ms, [this] { ++fBeats; });
    }

    void onExit() override
    {
        const int beats = fBeats;
        EXPECT_EQ(eIxlaNoInstance, fTimer.every(1ms, [] {}));
        EXPECT_EQ(beats, fBeats);
    }

private:
    std::atomic<int>& fBeats;
    PTimer fTimer{*this, L"beat"};
};

struct BeatingPlugin : PPlugin
{
    explicit BeatingPlugin(std::atomic<int>& ioBeats)
    {
        offer<Beating>(L"test.beating", [&ioBeats] { return new Beating(ioBeats); });
    }
};

TEST(TimerInRealTimeTest, FiresUntilItsServiceExits)
{
    std::atomic<int> beats{0};
    CoreRun core;
    ASSERT_EQ(0, core.start());
    const auto plugin = PBaseptr<IPlugin>::adopt(new BeatingPlugin(beats));
    ASSERT_EQ(0, plugin->init());
    while (beats < 3)
    {
        std::this_thread::yield();
    }
    EXPECT_EQ(0, core.stop());
}

TEST(TimerInRealTimeTest, NeverFiresEarly)
{
    PWorker worker(L"timers");
    PTimer timer(worker);
    std::promise<std::chrono::steady_clock::time_point> fired;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(0, timer.once(20ms, [&] { fired.set_value(std::chrono::steady_clock::now()); }));
    EXPECT_LE(begin + 20ms, fired.get_future().get());
}

TEST(TimerInRealTimeTest, EndWaitsForTheCallable)
{
    std::promise<void> entered;
    std::promise<void> leave;
    std::atomic<bool> left{false};
    PWorker worker(L"timers");
    PTimer timer(worker);
    EXPECT_EQ(0, timer.once(0ms,
                            [&]
                            {
                                entered.set_value();
                                leave.get_future().wait();
                                left = true;
                            }));
    ASSERT_EQ(std::future_status::ready, entered.get_future().wait_for(30s));
    std::promise<void> ending;
    std::future<bool> ended = std::async(std::launch::async,
                                         [&]
                                         {
                                             ending.set_value();
                                             timer.end();
                                             return left.load();
                                         });
    ending.get_future().wait();
    leave.set_value();
    EXPECT_TRUE(ended.get());
}

TEST(TimerInRealTimeTest, NothingFiresAfterTheEnd)
{
    PWorker worker(L"timers");
    for (int round = 0; round < 300; ++round)
    {
        // Freed after the timer has ended, when nothing may use it.
        const auto used = std::make_unique<std::atomic<int>>(0);
        PTimer timer(worker);
        EXPECT_EQ(0, timer.once(0ms, [&used] { ++*used; }));
    }
}

TEST(TimerInRealTimeTest, CallableThatEndsItsThreadDoesNotBlockTheEnd)
{
    PWorker worker(L"timers");
    PTimer timer(worker);
    EXPECT_EQ(0, timer.every(1ms, [] { pthread_exit(nullptr); }));
    while (!worker.isEnding())
    {
        std::this_thread::yield();
    }
    timer.end();
    EXPECT_EQ(eIxlaNoInstance, timer.once(0ms, [] {}));
}

TEST(TimerInRealTimeTest, ForkedChildCannotUseIt)
{
    PWorker worker(L"timers");
    auto timer = std::make_unique<PTimer>(worker);
    EXPECT_EQ(0, timer->every(1ms, [] {}));
    const pid_t child = fork();
    if (child == 0)
    {
        const bool refused = timer->once(0ms, [] {}) == -EOWNERDEAD;
        timer.reset();
        _exit(refused ? 0 : 1);
    }
    int status = 1;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
}
} // namespace
