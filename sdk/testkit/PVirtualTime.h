// SPDX-License-Identifier: MIT
// PVirtualTime: a clock of workers that stands still until it is moved.
#ifndef IXLAL_SDK_PVIRTUALTIME_H
#define IXLAL_SDK_PVIRTUALTIME_H

#include "PGuarded.h"
#include "helpers/IWorkerClock.h"
#include "helpers/PCounted.h"
#include "helpers/PSleeper.h"
#include "testkit/PTestError.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

/// Knows which threads of workers sleep, and until when. [any thread]
class PVirtualTime final : public PCounted<IWorkerClock>
{
public:
    Time now() const override
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        return fNow;
    }

    int begin(const PSleeper& iSleeper) override
    {
        return ixlaGuarded(
            [&]
            {
                const std::lock_guard<std::mutex> lock(fMutex);
                fThreads.push_back({&iSleeper, true, Time()});
                return 0;
            });
    }

    void end(const PSleeper& iSleeper) override
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        fThreads.erase(nl_find(iSleeper));
        fChanged.notify_all();
    }

    void sleep(const PSleeper& iSleeper, std::unique_lock<std::mutex>& ioLock, Time iUntil) override
    {
        std::unique_lock<std::mutex> lock(fMutex);
        if (iUntil <= fNow)
        {
            return;
        }
        nl_find(iSleeper)->isBusy = false;
        nl_find(iSleeper)->until = iUntil;
        fChanged.notify_all();
        ioLock.unlock();
        // Others may begin and end meanwhile, which moves the elements.
        fChanged.wait(lock, [&] { return nl_find(iSleeper)->isBusy; });
        lock.unlock();
        ioLock.lock();
    }

    void wake(const PSleeper& iSleeper) override
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        const auto thread = nl_find(iSleeper);
        if (thread != fThreads.end()) // it may not have been started, or have ended
        {
            thread->isBusy = true;
            fChanged.notify_all();
        }
    }

    /// Waits until all threads sleep. Throws PTestError when one is busy after iLimit.
    void settle(std::chrono::milliseconds iLimit)
    {
        std::unique_lock<std::mutex> lock(fMutex);
        if (!fChanged.wait_for(lock, iLimit, [this] { return nl_busy().empty(); }))
        {
            throw PTestError("still busy after " + std::to_string(iLimit.count()) +
                             " ms:" + nl_busy() +
                             "; a task that waits for something else than "
                             "PWorker::sleep does not let the time pass");
        }
    }

    /// When a thread sleeps until iTarget at most: moves the time there, wakes the thread and
    /// returns true. Otherwise moves the time to iTarget. All threads must be asleep.
    bool step(Time iTarget)
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        const auto first = std::min_element(fThreads.begin(), fThreads.end(),
                                            [](const Thread& iLeft, const Thread& iRight)
                                            { return iLeft.until < iRight.until; });
        if (first == fThreads.end() || first->until > iTarget)
        {
            fNow = iTarget;
            return false;
        }
        fNow = std::max(fNow, first->until);
        first->isBusy = true;
        fChanged.notify_all();
        return true;
    }

private:
    struct Thread
    {
        const PSleeper* sleeper;
        bool isBusy;
        Time until; ///< while it is not busy
    };

    std::vector<Thread>::iterator nl_find(const PSleeper& iSleeper)
    {
        return std::find_if(fThreads.begin(), fThreads.end(),
                            [&](const Thread& iThread) { return iThread.sleeper == &iSleeper; });
    }

    /// The names of the threads that are busy, each after a space.
    std::string nl_busy() const
    {
        std::string names;
        for (const Thread& thread : fThreads)
        {
            if (thread.isBusy)
            {
                names.append(" ").append(thread.sleeper->threadName());
            }
        }
        return names;
    }

    mutable std::mutex fMutex;
    std::condition_variable fChanged;
    std::vector<Thread> fThreads; ///< in the order of their begin; guarded by fMutex
    Time fNow = std::chrono::steady_clock::now(); ///< guarded by fMutex
};

#endif
