// SPDX-License-Identifier: MIT
#include "port/Gate.h"
#include "portinglayer/PMonotonic.h"
#include "portinglayer/PThread.h"
#include "portinglayer/PTime.h"

#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <memory>
#include <pthread.h>

namespace
{
void* sameArgument(void* iArgument)
{
    return iArgument;
}

void* passGate(void* iGate)
{
    return static_cast<Gate*>(iGate)->pass() ? iGate : nullptr;
}

void* openGate(void* iGate)
{
    static_cast<Gate*>(iGate)->open();
    return nullptr;
}

void* ownId(void* oId)
{
    *static_cast<unsigned long*>(oId) = PThread::getCurrentThreadId();
    return nullptr;
}

struct Detached
{
    Gate go;
    Gate gone;
};

void* runDetached(void* iDetached)
{
    auto* const detached = static_cast<Detached*>(iDetached);
    if (detached->go.pass())
    {
        detached->gone.open();
    }
    return nullptr;
}

void noSignal(int)
{
}

long long nanoseconds(const timespec& iTime)
{
    return iTime.tv_sec * 1000000000LL + iTime.tv_nsec;
}
} // namespace

TEST(Thread, JoiningYieldsTheResultOfTheFunction)
{
    int value = 0;
    void* result = nullptr;
    PThread thread;

    ASSERT_EQ(0, thread.pcreate(sameArgument, &value));
    EXPECT_EQ(0, thread.pjoin(result));
    EXPECT_EQ(&value, result);
}

TEST(Thread, IsUsableAgainAfterJoining)
{
    int value = 0;
    void* result = nullptr;
    PThread thread;
    for (int i = 0; i < 2; ++i)
    {
        ASSERT_EQ(0, thread.pcreate(sameArgument, &value));
        ASSERT_EQ(0, thread.pjoin(result));
    }

    EXPECT_EQ(-3, thread.pjoin(result));
}

TEST(Thread, JoiningWithoutAThreadIsRefused)
{
    int value = 0;
    void* result = &value;
    PThread thread;

    EXPECT_EQ(-3, thread.pjoin(result));
    EXPECT_EQ(&value, result);
}

TEST(Thread, SecondStartIsRefusedUntilJoined)
{
    Gate gate;
    void* result = nullptr;
    PThread thread;
    ASSERT_EQ(0, thread.pcreate(passGate, &gate));

    EXPECT_EQ(-16, thread.pcreate(sameArgument, nullptr));
    gate.open();
    EXPECT_EQ(0, thread.pjoin(result));
    EXPECT_EQ(&gate, result);
}

TEST(Thread, MissingFunctionIsRefused)
{
    PThread thread;

    EXPECT_EQ(-22, thread.pcreate(nullptr, nullptr));
}

TEST(Thread, RunsOnWhenNotJoined)
{
    // Never destroyed, because the thread may still be in gone.open().
    static Detached detached;
    {
        PThread thread;
        ASSERT_EQ(0, thread.pcreate(runDetached, &detached));
    }
    detached.go.open();

    EXPECT_TRUE(detached.gone.pass());
}

// A thread that is neither joined nor detached leaks its stack, and the address space of a 32-bit
// process is too small for so many.
TEST(Thread, UnjoinedThreadsLeakNothing)
{
    // Never freed, because the threads may still be in open().
    static Gate* const gone = new Gate[1000];
    for (int i = 0; i < 1000; ++i)
    {
        PThread thread;
        ASSERT_EQ(0, thread.pcreate(openGate, &gone[i])) << i;
        ASSERT_TRUE(gone[i].pass()) << i;
    }
}

TEST(Thread, IdsOfThreadsDiffer)
{
    unsigned long other = 0;
    void* result = nullptr;
    PThread thread;
    ASSERT_EQ(0, thread.pcreate(ownId, &other));
    ASSERT_EQ(0, thread.pjoin(result));

    EXPECT_NE(0u, other);
    EXPECT_NE(PThread::getCurrentThreadId(), other);
    EXPECT_EQ(PThread::getCurrentThreadId(), PThread::getCurrentThreadId());
}

TEST(Thread, SleepsAtLeastTheGivenTime)
{
    const long long start = PTime::getTickCount();
    PThread::psleep(30);

    EXPECT_GE(PTime::getTickCountDiff(start, PTime::getTickCount()), 29);
}

TEST(Thread, SleepContinuesAfterASignal)
{
    struct sigaction action = {};
    action.sa_handler = noSignal;
    ASSERT_EQ(0, sigaction(SIGUSR1, &action, nullptr));
    pthread_t sleeper = pthread_self();
    PThread waker;
    ASSERT_EQ(0, waker.pcreate(
                     [](void* iThread) -> void*
                     {
                         for (int i = 0; i < 20; ++i)
                         {
                             pthread_kill(*static_cast<pthread_t*>(iThread), SIGUSR1);
                             PThread::psleep(2);
                         }
                         return nullptr;
                     },
                     &sleeper));
    const long long start = PTime::getTickCount();
    PThread::psleep(80);
    const long long slept = PTime::getTickCountDiff(start, PTime::getTickCount());
    void* result = nullptr;
    ASSERT_EQ(0, waker.pjoin(result));

    EXPECT_GE(slept, 79);
}

TEST(Time, TicksNeverGoBack)
{
    long long last = PTime::getTickCount();
    for (int i = 0; i < 1000; ++i)
    {
        const long long now = PTime::getTickCount();
        ASSERT_GE(now, last);
        last = now;
    }
}

TEST(Time, LimitsAreAsFarAwayAsAsked)
{
    for (int i = 0; i < 100; ++i)
    {
        const long long before = nanoseconds(PMonotonic::now());
        const timespec limit = PMonotonic::after(1999);
        const long long after = nanoseconds(PMonotonic::now());

        ASSERT_LT(limit.tv_nsec, 1000000000);
        ASSERT_GE(nanoseconds(limit), before + 1999000000);
        ASSERT_LE(nanoseconds(limit), after + 1999000000);
    }
}

TEST(Time, DifferenceIsTakenFromStartToEnd)
{
    EXPECT_EQ(5, PTime::getTickCountDiff(10, 15));
    EXPECT_EQ(-5, PTime::getTickCountDiff(15, 10));
    EXPECT_EQ(-1, PTime::getTickCountDiff(LLONG_MIN, LLONG_MAX));
}
