// SPDX-License-Identifier: MIT
/// @file
/// PTestClock: the time of workers and timers, under the control of a test.
#ifndef IXLAL_SDK_PTESTCLOCK_H
#define IXLAL_SDK_PTESTCLOCK_H

#include "PBaseptr.h"
#include "helpers/IWorkerClock.h"
#include "testkit/PTestError.h"
#include "testkit/PVirtualTime.h"

#include <chrono>

/// While it exists, the time of the PWorkers and PTimers that are constructed passes only in
/// advance(). Timers then fire in the order of their times, each after the callables of all earlier
/// ones have returned:
///
///     PTestClock clock;
///     fCore.addPlugin(ixlaGetPlugin);
///     fCore.start();
///     const auto ticker = fCore.service<ITicker>(kTickerId);
///     clock.advance(3s);
///     EXPECT_EQ(3, ticker->getTicks());
///
/// Construct it before the core starts. It reaches the code that is linked into the test, so the
/// plugin is too; a plugin library has its own clock. Time does not pass for workers that outlive
/// it. One thread uses it, and not that of a worker.
class PTestClock
{
public:
    /// Throws PTestError when another one exists.
    PTestClock() : fTime(PBaseptr<PVirtualTime>::adopt(new PVirtualTime))
    {
        if (PWorkerClock::current())
        {
            throw PTestError("another PTestClock exists: use that one, or end its scope first");
        }
        PWorkerClock::set(fTime.get());
    }

    ~PTestClock()
    {
        PWorkerClock::set(nullptr);
    }

    PTestClock(const PTestClock&) = delete;
    PTestClock& operator=(const PTestClock&) = delete;

    /// Lets all queued tasks run and then iTime pass. Returns when the callables of all timers that
    /// are due by then, and all tasks that these have queued, have returned. Throws as settle().
    void advance(std::chrono::milliseconds iTime)
    {
        settle();
        const IWorkerClock::Time target = fTime->now() + iTime;
        while (fTime->step(target))
        {
            settle();
        }
    }

    /// Waits until all queued tasks, and the timers that are due, have run. Throws PTestError when
    /// a worker does not finish within iLimit of real time.
    void settle(std::chrono::milliseconds iLimit = std::chrono::seconds(30))
    {
        fTime->settle(iLimit);
    }

    /// The present time.
    IWorkerClock::Time now() const
    {
        return fTime->now();
    }

private:
    const PBaseptr<PVirtualTime> fTime; ///< shared with the workers
};

#endif
