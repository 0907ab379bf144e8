// SPDX-License-Identifier: MIT
// PSleeper: lets the thread of a worker wait for a time or a wake-up.
#ifndef IXLAL_SDK_PSLEEPER_H
#define IXLAL_SDK_PSLEEPER_H

#include "helpers/IWorkerClock.h"
#include "portinglayer/PCancelGuard.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

/// A condition variable on the clock of PWorkerClock, for one waiting thread.
class PSleeper
{
public:
    /// A time of the clock.
    typedef IWorkerClock::Time Time;

    /// Uses the clock that is set now.
    explicit PSleeper(const char* iThreadName)
        : fThreadName(iThreadName), fClock(PWorkerClock::current())
    {
    }

    PSleeper(const PSleeper&) = delete;
    PSleeper& operator=(const PSleeper&) = delete;

    /// The name of the thread.
    const char* threadName() const noexcept
    {
        return fThreadName;
    }

    /// The time of the clock. [any thread]
    Time now() const
    {
        return fClock ? fClock->now() : std::chrono::steady_clock::now();
    }

    /// To be called before the thread is started. Returns 0 or -501.
    int begin()
    {
        return fClock ? fClock->begin(*this) : 0;
    }

    /// To be called when the thread ends, or could not be started.
    void end()
    {
        if (fClock)
        {
            fClock->end(*this);
        }
    }

    /// Releases ioLock, waits for wake() or the time iUntil, and locks again. May return early.
    void wait(std::unique_lock<std::mutex>& ioLock, Time iUntil)
    {
        const PCancelGuard guard;
        if (fClock)
        {
            fClock->sleep(*this, ioLock, iUntil);
        }
        else if (iUntil == Time::max())
        {
            fWake.wait(ioLock);
        }
        else
        {
            // A time that is far away does not fit into the 32-bit time of the system.
            fWake.wait_until(ioLock, std::min(iUntil, now() + std::chrono::hours(1)));
        }
    }

    /// Wakes the thread. The caller holds the mutex of the wait.
    void wake()
    {
        if (fClock)
        {
            fClock->wake(*this);
        }
        fWake.notify_all();
    }

private:
    const char* const fThreadName;
    const PBaseptr<IWorkerClock> fClock;
    std::condition_variable fWake;
};

#endif
