// SPDX-License-Identifier: MIT
// Code that is wrong on purpose. Each check of the runtime has to find the fault that it is for.

#include "Scenario.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <shared_mutex>
#include <thread>

using schedules::require;
using schedules::requireEqual;

SCENARIO(WrongCounterLosesAnIncrement, .fails = "assertion")
{
    static std::atomic<int> sCount{0};
    const auto increment = []
    {
        sCount = sCount + 1;
    };
    std::thread other(increment);
    increment();
    other.join();
    requireEqual(2, sCount, "the count");
}

SCENARIO(WrongPlainCounterRaces, .fails = "race")
{
    static int sCount = 0;
    std::thread other([] { ++sCount; });
    ++sCount;
    other.join();
}

SCENARIO(WrongReadRacesWithAWriteUnderALock, .fails = "race")
{
    static std::mutex sMutex;
    static int sValue = 0;
    std::thread other(
        []
        {
            const std::lock_guard lock(sMutex);
            sValue = 1;
        });
    require(sValue < 2, "the value");
    other.join();
}

SCENARIO(WrongReaderWritesUnderASharedLock, .fails = "race")
{
    static std::shared_mutex sMutex;
    static int sValue = 0;
    const auto increment = []
    {
        const std::shared_lock lock(sMutex);
        ++sValue;
    };
    std::thread other(increment);
    increment();
    other.join();
}

SCENARIO(WrongPublicationWithoutRelease, .fails = "race")
{
    static int sValue = 0;
    static std::atomic<bool> sReady{false};
    std::thread other(
        []
        {
            sValue = 1;
            sReady.store(true, std::memory_order_relaxed);
        });
    if (sReady.load(std::memory_order_acquire))
    {
        requireEqual(1, sValue, "the value");
    }
    other.join();
}

SCENARIO(WrongPublicationWithoutAcquire, .fails = "race")
{
    static int sValue = 0;
    static std::atomic<bool> sReady{false};
    std::thread other(
        []
        {
            sValue = 1;
            sReady.store(true, std::memory_order_release);
        });
    if (sReady.load(std::memory_order_relaxed))
    {
        requireEqual(1, sValue, "the value");
    }
    other.join();
}

SCENARIO(WrongCountFreesWithoutOrderingTheUses, .fails = "race")
{
    struct Shared
    {
        int value = 0;
        std::atomic<int> count{2};
    };
    Shared* const shared = new Shared;
    const auto release = [shared]
    {
        ++shared->value;
        if (shared->count.fetch_sub(1, std::memory_order_relaxed) == 1)
        {
            delete shared;
        }
    };
    std::thread other(
        [shared]
        {
            if (shared->count.fetch_sub(1, std::memory_order_relaxed) == 1)
            {
                delete shared;
            }
        });
    release();
    other.join();
}

SCENARIO(WrongPointerIsUsedAfterItsObject, .fails = "use after free")
{
    static std::mutex sMutex;
    static int* sPointer = new int(1);
    std::thread other(
        []
        {
            const std::lock_guard lock(sMutex);
            delete sPointer;
        });
    const std::lock_guard lock(sMutex);
    require(*sPointer == 1, "the value");
    other.detach();
}

SCENARIO(WrongLockIsUsedAfterItsObject, .fails = "use after free")
{
    static std::mutex* const sMutex = new std::mutex;
    sMutex->lock();
    std::thread other([] { delete sMutex; });
    other.join();
    sMutex->unlock();
}

SCENARIO(WrongLockIsPublishedWithoutRelease, .fails = "race")
{
    static std::atomic<std::mutex*> sMutex{nullptr};
    std::thread other([] { sMutex.store(new std::mutex, std::memory_order_relaxed); });
    if (std::mutex* const mutex = sMutex.load(std::memory_order_acquire))
    {
        const std::lock_guard lock(*mutex);
    }
    other.join();
}

SCENARIO(WrongMemoryIsReleasedTwice, .fails = "wrong release")
{
    static std::atomic<int*> sPointer{new int};
    const auto release = []
    {
        if (sPointer)
        {
            delete sPointer.exchange(nullptr);
        }
    };
    // Both may see the pointer; deleting null is allowed, so the second one deletes what it saw.
    std::thread other([] { delete sPointer.load(); });
    release();
    other.join();
}

SCENARIO(WrongOrderOfTwoLocks, .fails = "lock order")
{
    static std::mutex sFirst;
    static std::mutex sSecond;
    {
        const std::lock_guard first(sFirst);
        const std::lock_guard second(sSecond);
    }
    std::thread other(
        []
        {
            const std::lock_guard second(sSecond);
            const std::lock_guard first(sFirst);
        });
    other.join();
}

SCENARIO(WrongLockIsTakenTwice, .fails = "deadlock")
{
    static std::mutex sMutex;
    sMutex.lock();
    sMutex.lock();
}

SCENARIO(WrongNotificationComesBeforeTheWait, .fails = "deadlock")
{
    static std::mutex sMutex;
    static std::condition_variable sCondition;
    static std::atomic<bool> sReady{false};
    std::thread other(
        []
        {
            sReady = true;
            sCondition.notify_one();
        });
    if (!sReady)
    {
        std::unique_lock lock(sMutex);
        sCondition.wait(lock);
    }
    other.join();
}

SCENARIO(WrongNotificationIsMissing, .milliseconds = 1000, .jumps = false, .fails = "too slow")
{
    static std::mutex sMutex;
    static std::condition_variable sCondition;
    static bool sReady = false;
    std::thread other(
        []
        {
            const std::lock_guard lock(sMutex);
            sReady = true;
        });
    std::unique_lock lock(sMutex);
    sCondition.wait_for(lock, std::chrono::seconds(5), [] { return sReady; });
    lock.unlock();
    other.join();
}

SCENARIO(WrongAtomicWaitIsNeverNotified, .fails = "deadlock")
{
    static std::atomic<int> sValue{0};
    std::thread other([] { sValue = 1; });
    sValue.wait(0);
    other.join();
}

SCENARIO(WrongThreadUnlocks, .fails = "misuse")
{
    static std::mutex sMutex;
    sMutex.lock();
    std::thread other([] { sMutex.unlock(); });
    other.join();
}

SCENARIO(WrongThreadEndsWithALock, .fails = "misuse")
{
    static std::mutex sMutex;
    std::thread other([] { sMutex.lock(); });
    other.join();
}

SCENARIO(WrongCallbackRunsUnderALock, .fails = "lock held")
{
    static std::mutex sMutex;
    const std::lock_guard lock(sMutex);
    schedules::requireNoLocks("a callback");
}

SCENARIO(WrongLoopHasNoEnd, .fails = "no end")
{
    static std::atomic<bool> sStop{false};
    while (!sStop)
    {
    }
}

SCENARIO(WrongPointerIsNull, .fails = "crash")
{
    static int* volatile sPointer = nullptr;
    *sPointer = 1;
}

SCENARIO(WrongExceptionLeavesAThread, .fails = "crash")
{
    std::thread other([] { throw 1; });
    other.join();
}

SCENARIO(WrongTimeoutIsTakenForAnEnd, .fails = "use after free")
{
    struct Job
    {
        std::mutex mutex;
        std::condition_variable ended;
        bool done = false;
    };
    Job* const job = new Job;
    std::thread other(
        [job]
        {
            const std::lock_guard lock(job->mutex);
            job->done = true;
            job->ended.notify_one();
        });
    {
        std::unique_lock lock(job->mutex);
        job->ended.wait_for(lock, std::chrono::seconds(1));
    }
    delete job;
    other.join();
}
