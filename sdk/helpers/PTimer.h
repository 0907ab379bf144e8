// SPDX-License-Identifier: MIT
/// @file
/// PTimer: runs a callable at a time, or in a period.
#ifndef IXLAL_SDK_PTIMER_H
#define IXLAL_SDK_PTIMER_H

#include "Ixla.h"
#include "PGuarded.h"
#include "helpers/PExitOwner.h"
#include "helpers/PForkCheck.h"
#include "helpers/PWorker.h"
#include "helpers/PWorkerQueue.h"

#include <chrono>
#include <memory>

/// A timer that fires once or periodically, on the thread of a worker: one that it shares with
/// tasks and other timers, or its own. As a member of a service it ends when the service does:
///
///     PTimer fTimer{*this, L"ticker"};
///     ...
///     return fTimer.every(std::chrono::seconds(1), [this] { tick(); });
///
/// A timer never fires early. It fires late when the thread is busy: timers and tasks of one worker
/// run one after the other. A periodic timer fires at multiples of its period, counted from
/// every(). It fires once when it is late, however many periods have passed, and it leaves out the
/// times that pass while its callable runs. Timers that are due at the same time fire in the order
/// in which they were set.
///
/// An exception of the callable becomes a line of error in the plugins' log, after the name of the
/// worker; a periodic timer continues.
///
/// The timer ends with its worker, with end() and with its destructor. The callable is not running
/// on another thread when that has returned, and never runs again. A running callable is waited
/// for, except by its own thread: so do not end a timer with a lock held that the callable takes.
/// In the callable every operation is allowed, also the destruction of the timer. A worker that is
/// shared must outlive its timers: declare it first.
///
/// In a forked child once() and every() return -130, and the end of a timer of the parent does
/// nothing. [any thread]
class PTimer
{
public:
    /// A timer on the thread of ioWorker. Throws std::bad_alloc.
    explicit PTimer(PWorker& ioWorker) : fWorker(ioWorker), fTimer(std::make_shared<PWorkerTimer>())
    {
    }

    /// A timer with a worker iName of its own, which ends with ioService. Throws std::bad_alloc.
    PTimer(PExitOwner& ioService, const PLiteral& iName)
        : fOwn(new PWorker(ioService, iName)),
          fWorker(*fOwn),
          fTimer(std::make_shared<PWorkerTimer>())
    {
    }

    ~PTimer()
    {
        end();
    }

    PTimer(const PTimer&) = delete;
    PTimer& operator=(const PTimer&) = delete;

    /// Fires once, after iDelay. Replaces an earlier time and callable, as end() does. Returns 0;
    /// -502 for a negative delay or one of more than ten years; -2002 when the worker has ended; or
    /// another code of PWorker::start. With any of them the callable never runs.
    template <class TFunction>
    int once(std::chrono::milliseconds iDelay, TFunction iFunction) noexcept
    {
        return set(iDelay, std::chrono::milliseconds(0), iFunction);
    }

    /// Fires after iPeriod and then in every period, until end(). Otherwise as once(); -502 also
    /// for 0.
    template <class TFunction>
    int every(std::chrono::milliseconds iPeriod, TFunction iFunction) noexcept
    {
        return iPeriod.count() > 0 ? set(iPeriod, iPeriod, iFunction) : eIxlaInvalidArgument;
    }

    /// Ends the timer; it may be set again.
    void end() noexcept
    {
        if (!fFork.isChild())
        {
            fWorker.fQueue->unset(fTimer);
        }
    }

private:
    template <class TFunction>
    int set(std::chrono::milliseconds iDelay, std::chrono::milliseconds iPeriod,
            TFunction& ioFunction) noexcept
    {
        const std::chrono::hours longest(24 * 366 * 10); // adding it to a time cannot overflow
        if (iDelay.count() < 0 || iDelay > longest)
        {
            return eIxlaInvalidArgument;
        }
        const int started = fWorker.start();
        if (started != eIxlaOk)
        {
            return started;
        }
        return ixlaGuarded(
            [&]() -> int
            {
                const PWorkerQueue::Task task = PWorkerTask::make(ioFunction);
                end();
                return fWorker.fQueue->set(fTimer, task, iDelay, iPeriod);
            });
    }

    const std::unique_ptr<PWorker> fOwn; ///< empty for a shared worker
    PWorker& fWorker;
    const PWorkerQueue::Timer fTimer;
    const PForkCheck fFork;
};

#endif
