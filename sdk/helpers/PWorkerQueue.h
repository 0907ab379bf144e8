// SPDX-License-Identifier: MIT
// PWorkerQueue: the tasks and timers of a worker, and the code of its thread.
#ifndef IXLAL_SDK_PWORKERQUEUE_H
#define IXLAL_SDK_PWORKERQUEUE_H

#include "ILogger.h"
#include "Ixla.h"
#include "helpers/PSleeper.h"
#include "helpers/PThreadName.h"
#include "helpers/PTimerList.h"
#include "helpers/PWorkerTask.h"
#include "helpers/Reported.h"
#include "helpers/ServiceLookup.h"
#include "portinglayer/PCancelGuard.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <list>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

/// Shared by a PWorker, its PTimers and its thread. Runs and destroys callables without its lock.
/// [any thread]
class PWorkerQueue
{
public:
    /// Shared, because a timer may get another task while it fires.
    typedef std::shared_ptr<PWorkerTask> Task;
    /// Shared by the queue and the PTimer.
    typedef std::shared_ptr<PWorkerTimer> Timer;

    /// With iFinish the tasks that are queued when the queue is closed run before the thread ends.
    PWorkerQueue(const PLiteral& iName, bool iFinish)
        : fName(iName), fFinish(iFinish), fSleeper(fName.brief())
    {
    }

    PWorkerQueue(const PWorkerQueue&) = delete;
    PWorkerQueue& operator=(const PWorkerQueue&) = delete;

    /// The waits of the thread.
    PSleeper& sleeper() noexcept
    {
        return fSleeper;
    }

    /// 0, or -2002 after close().
    int state() const
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        return nl_state();
    }

    /// The number of tasks that have not begun.
    std::size_t size() const
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        return fTasks.size();
    }

    /// Whether the caller is the thread of the worker.
    bool isOwnThread() const
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        return fThread == std::this_thread::get_id();
    }

    /// Queues a task. Returns 0 or -2002 after close(). Throws std::bad_alloc.
    int post(Task iTask)
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        const int state = nl_state();
        if (state == eIxlaOk)
        {
            fTasks.push_back(std::move(iTask));
            fSleeper.wake();
        }
        return state;
    }

    /// Lets a timer run iTask after iDelay, and then, unless iPeriod is 0, in every period.
    /// Replaces its earlier task and times. Returns 0 or -2002 after close().
    int set(const Timer& iTimer, Task iTask, std::chrono::milliseconds iDelay,
            std::chrono::milliseconds iPeriod)
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        const int state = nl_state();
        if (state == eIxlaOk)
        {
            fTimers.remove(*iTimer);
            iTimer->due = fSleeper.now() + iDelay;
            iTimer->period = iPeriod;
            iTimer->task.swap(iTask);
            fTimers.add(iTimer);
            fSleeper.wake();
        }
        return state;
    }

    /// Ends a timer. Waits while its task is running, unless the caller is the thread of the
    /// worker.
    void unset(const Timer& iTimer)
    {
        Task released;
        std::unique_lock<std::mutex> lock(fMutex);
        fTimers.remove(*iTimer);
        if (fThread != std::this_thread::get_id())
        {
            const PCancelGuard guard;
            fFired.wait(lock, [this, &iTimer] { return fFiring != iTimer.get(); });
        }
        released.swap(iTimer->task);
    }

    /// Lets the thread end when its task has returned. No timer fires again. Without iFinish queued
    /// tasks are destroyed, and their number is logged.
    void close()
    {
        std::list<Task> unfinished;
        PTimerList timers;
        {
            const std::lock_guard<std::mutex> lock(fMutex);
            nl_close(timers);
            if (!fFinish)
            {
                unfinished.swap(fTasks);
            }
            fSleeper.wake();
        }
        report(unfinished.size());
    }

    /// In a task: waits. Returns false at once when the queue is closed.
    bool sleep(std::chrono::milliseconds iTime)
    {
        std::unique_lock<std::mutex> lock(fMutex);
        const PSleeper::Time until = fSleeper.now() + iTime;
        while (!fClosed && fSleeper.now() < until)
        {
            fSleeper.wait(lock, until);
        }
        return !fClosed;
    }

    /// The code of the thread.
    void run()
    {
        fName.apply();
        const Over over(*this);
        std::unique_lock<std::mutex> lock(fMutex);
        fThread = std::this_thread::get_id();
        while (nl_awaitWork(lock))
        {
            if (fTimers.firstDue() <= fSleeper.now())
            {
                nl_fire(lock);
            }
            else
            {
                nl_runTask(lock);
            }
        }
    }

private:
    /// Closes the queue when the thread ends, which a task may do.
    class Over
    {
    public:
        explicit Over(PWorkerQueue& ioQueue) noexcept : fQueue(ioQueue)
        {
        }

        ~Over()
        {
            fQueue.abandon();
        }

        Over(const Over&) = delete;
        Over& operator=(const Over&) = delete;

    private:
        PWorkerQueue& fQueue;
    };

    /// Runs a callable without the lock.
    class Unlocked
    {
    public:
        explicit Unlocked(std::unique_lock<std::mutex>& ioLock) : fLock(ioLock)
        {
            fLock.unlock();
        }

        ~Unlocked()
        {
            fLock.lock();
        }

        Unlocked(const Unlocked&) = delete;
        Unlocked& operator=(const Unlocked&) = delete;

    private:
        std::unique_lock<std::mutex>& fLock;
    };

    /// Marks a timer as firing.
    class Firing
    {
    public:
        Firing(PWorkerQueue& ioQueue, const PWorkerTimer* iTimer) noexcept : fQueue(ioQueue)
        {
            fQueue.fFiring = iTimer;
        }

        ~Firing()
        {
            fQueue.fFiring = nullptr;
            fQueue.fFired.notify_all();
        }

        Firing(const Firing&) = delete;
        Firing& operator=(const Firing&) = delete;

    private:
        PWorkerQueue& fQueue;
    };

    int nl_state() const noexcept
    {
        return fClosed ? eIxlaNoInstance : eIxlaOk;
    }

    void nl_close(PTimerList& oTimers) noexcept
    {
        fClosed = true;
        fTimers.swap(oTimers);
    }

    /// Waits for a task or a timer; returns false when the thread is to end.
    bool nl_awaitWork(std::unique_lock<std::mutex>& ioLock)
    {
        while (fTasks.empty() && !fClosed && fSleeper.now() < fTimers.firstDue())
        {
            fSleeper.wait(ioLock, fTimers.firstDue());
        }
        return !fTasks.empty() || !fClosed;
    }

    void nl_runTask(std::unique_lock<std::mutex>& ioLock)
    {
        Task task = std::move(fTasks.front());
        fTasks.pop_front();
        const Unlocked unlocked(ioLock);
        runTask(std::move(task));
    }

    /// Runs the first timer, which stays in the list when it has a period.
    void nl_fire(std::unique_lock<std::mutex>& ioLock)
    {
        Timer timer = fTimers.takeFirst();
        const bool isPeriodic = timer->period.count() > 0;
        if (isPeriodic)
        {
            timer->due += timer->period;
            fTimers.add(timer);
        }
        {
            const Firing firing(*this, timer.get());
            Task task = isPeriodic ? timer->task : std::move(timer->task);
            const Unlocked unlocked(ioLock);
            runTask(std::move(task));
        }
        fTimers.skip(timer, fSleeper.now());
    }

    /// Destroys the task also when it ends the thread.
    void runTask(const Task iTask) const
    {
        // The thread does not depend on the task's success, which is in the log.
        (void)ixlaReported(
            fName.whole(),
            [&iTask]() -> int
            {
                iTask->run();
                return eIxlaOk;
            },
            eIxlaInvalidArgument);
    }

    /// The thread ends: nothing will run.
    void abandon()
    {
        std::list<Task> unfinished;
        PTimerList timers;
        {
            const std::lock_guard<std::mutex> lock(fMutex);
            nl_close(timers);
            unfinished.swap(fTasks);
            fSleeper.end();
        }
        report(unfinished.size());
    }

    void report(std::size_t iUnfinished) const
    {
        const PBaseptr<ILogger> logger =
            iUnfinished > 0 ? ixlaService<ILogger>() : PBaseptr<ILogger>();
        if (logger)
        {
            // Without a log there is no other place to report it.
            (void)logger->info(0, L"[%ls] Ended; tasks that have not run: %u", fName.whole().ptr(),
                               static_cast<unsigned int>(iUnfinished));
        }
    }

    const PThreadName fName;
    const bool fFinish;

    PSleeper fSleeper;
    mutable std::mutex fMutex;
    // Guarded by fMutex.
    std::condition_variable fFired;
    std::list<Task> fTasks;
    PTimerList fTimers;
    std::thread::id fThread;
    const PWorkerTimer* fFiring = nullptr; ///< the timer whose task is running
    bool fClosed = false;
};

#endif
