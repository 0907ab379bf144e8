// SPDX-License-Identifier: MIT
/// @file
/// IWorkerClock: the time of workers and timers in a test.
#ifndef IXLAL_SDK_IWORKERCLOCK_H
#define IXLAL_SDK_IWORKERCLOCK_H

#include "IBase.h"
#include "PBaseptr.h"

#include <chrono>
#include <mutex>

class PSleeper;

/// Replaces the monotonic clock for the threads of workers. Each thread is known by its PSleeper,
/// and is busy unless it is inside sleep().
class IWorkerClock : public IBase
{
public:
    /// A time of the clock.
    typedef std::chrono::steady_clock::time_point Time;

    /// The present time. [any thread]
    virtual Time now() const = 0;

    /// The thread of iSleeper is about to start. Returns 0 or -501. [any thread]
    virtual int begin(const PSleeper& iSleeper) = 0;

    /// The thread has ended, or did not start. [any thread]
    virtual void end(const PSleeper& iSleeper) = 0;

    /// Releases ioLock, waits for wake() or the time iUntil, and locks again. May return early.
    virtual void sleep(const PSleeper& iSleeper, std::unique_lock<std::mutex>& ioLock,
                       Time iUntil) = 0;

    /// Wakes the thread. The caller holds the mutex with which the thread sleeps. [any thread]
    virtual void wake(const PSleeper& iSleeper) = 0;
};

/// The clock of the workers that are constructed from now on, in the library or program that this
/// code is compiled into. Empty for the monotonic clock.
class PWorkerClock
{
public:
    /// The clock to use. [any thread]
    static PBaseptr<IWorkerClock> current()
    {
        Place& place = PWorkerClock::place();
        const std::lock_guard<std::mutex> lock(place.mutex);
        return PBaseptr<IWorkerClock>(place.clock);
    }

    /// Sets the clock, which must exist until another one is set; null for the monotonic clock.
    static void set(IWorkerClock* iClock)
    {
        Place& place = PWorkerClock::place();
        const std::lock_guard<std::mutex> lock(place.mutex);
        place.clock = iClock;
    }

private:
    struct Place
    {
        constexpr Place() noexcept : clock(nullptr)
        {
        }

        std::mutex mutex;
        IWorkerClock* clock; ///< guarded by mutex
    };

    // Hidden: a static variable that libraries share would prevent dlclose of each of them.
    __attribute__((visibility("hidden"))) static Place& place()
    {
        static Place sPlace; // initialised by a constant
        return sPlace;
    }
};

#endif
