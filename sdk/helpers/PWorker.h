// SPDX-License-Identifier: MIT
/// @file
/// PWorker: a named thread that runs tasks, and ends with its service.
#ifndef IXLAL_SDK_PWORKER_H
#define IXLAL_SDK_PWORKER_H

#include "Ixla.h"
#include "PGuarded.h"
#include "helpers/PExitOwner.h"
#include "helpers/PForkCheck.h"
#include "helpers/PWorkerQueue.h"
#include "portinglayer/PThread.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <memory>
#include <mutex>

/// Runs tasks one after the other on a thread of its own. As a member of a service it ends when the
/// service does:
///
///     class Jobs : public PService<IJobs>
///     {
///         int add(int iJob) override
///         {
///             return fWorker.post([this, iJob] { run(iJob); });
///         }
///
///         PWorker fWorker{*this, L"jobs"};
///     };
///
/// The first task starts the thread, unless start() has done so. The thread, and the lines that the
/// worker logs, have the worker's name. An exception of a task becomes a line of error in the
/// plugins' log; the next task then runs.
///
/// The worker of a service ends before the service's onExit is called; any worker ends with end()
/// and with its destructor. Nothing of it runs when that has returned, or later. A running task is
/// waited for: one that takes long looks at sleep() or isEnding(), and one that waits for
/// something else waits for a limited time. Queued tasks that have not begun are destroyed, and
/// their number is logged; with eFinish they run first. The thread that ends a worker must not hold
/// a lock that a task takes.
///
/// The worker's own thread does not wait for itself: end() in a task returns at once, and the
/// thread ends after that task. A task may also destroy the worker. A task may end its thread
/// (pthread_exit); the worker has ended then.
///
/// In a forked child operations return -130, and ending a worker of the parent does nothing.
/// [any thread]
class PWorker final : public PExitMember
{
public:
    /// What end() does with tasks that have not begun.
    enum EQueued
    {
        eDiscard, ///< destroys them
        eFinish   ///< waits until they have run; they cannot post more
    };

    /// A worker that ends with ioService. The system shows the first 15 bytes of iName. Throws
    /// std::bad_alloc.
    PWorker(PExitOwner& ioService, const PLiteral& iName, EQueued iQueued = eDiscard)
        : PWorker(&ioService, iName, iQueued)
    {
    }

    /// A worker that ends with its destructor, if not before. Throws std::bad_alloc.
    explicit PWorker(const PLiteral& iName, EQueued iQueued = eDiscard)
        : PWorker(nullptr, iName, iQueued)
    {
    }

    ~PWorker()
    {
        end();
    }

    PWorker(const PWorker&) = delete;
    PWorker& operator=(const PWorker&) = delete;

    /// Starts the thread, unless it is running. Returns 0; -2002 when the worker has ended; -501;
    /// or the system's negated errno, usually -11. Another call tries again.
    int start() noexcept
    {
        if (fFork.isChild())
        {
            return -EOWNERDEAD;
        }
        return ixlaGuarded([this]() -> int { return fIsStarted ? fQueue->state() : launch(); });
    }

    /// Queues a task, a callable without arguments, which may be one that only moves. Starts the
    /// thread if needed. Returns 0, or a code of start() with which the task never runs.
    template <class TFunction>
    int post(TFunction iFunction) noexcept
    {
        const int started = start();
        return started == eIxlaOk
                   ? ixlaGuarded([&]() -> int
                                 { return fQueue->post(PWorkerTask::make(iFunction)); })
                   : started;
    }

    /// In a task: waits for iTime. Returns false at once when the worker ends, otherwise true:
    /// while (fWorker.sleep(period)) { ... } is a task that runs until the end.
    bool sleep(std::chrono::milliseconds iTime)
    {
        return fQueue->sleep(iTime);
    }

    /// Whether the worker has ended, or waits for its last tasks.
    bool isEnding() const
    {
        return fQueue->state() != eIxlaOk;
    }

    /// The number of tasks that have not begun.
    std::size_t queued() const
    {
        return fQueue->size();
    }

    /// Ends the worker for good; see above.
    void end() noexcept override
    {
        if (fFork.isChild())
        {
            return;
        }
        fQueue->close();
        if (!fQueue->isOwnThread())
        {
            join();
        }
    }

private:
    friend class PTimer;

    typedef std::shared_ptr<PWorkerQueue> Queue;

    PWorker(PExitOwner* ioService, const PLiteral& iName, EQueued iQueued)
        : PExitMember(ioService),
          fQueue(std::make_shared<PWorkerQueue>(iName, iQueued == eFinish)),
          fIsStarted(false)
    {
    }

    static void* run(void* iQueue)
    {
        const std::unique_ptr<Queue> queue(static_cast<Queue*>(iQueue));
        (*queue)->run();
        return nullptr;
    }

    int launch()
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        std::unique_ptr<Queue> queue(new Queue(fQueue)); // the thread may outlive the worker
        int result = fQueue->state();
        if (fIsStarted || result != eIxlaOk)
        {
            return result;
        }
        result = fQueue->sleeper().begin();
        if (result != eIxlaOk)
        {
            return result;
        }
        result = fThread.pcreate(&PWorker::run, queue.get());
        if (result != eIxlaOk)
        {
            fQueue->sleeper().end();
            return result;
        }
        (void)queue.release(); // the thread owns it
        fIsStarted = true;
        return eIxlaOk;
    }

    void join() noexcept
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        void* ignored = nullptr;
        (void)fThread.pjoin(ignored); // fails when there is no thread to wait for
    }

    const Queue fQueue;
    const PForkCheck fFork;
    std::atomic<bool> fIsStarted;

    std::mutex fMutex;
    PThread fThread; ///< guarded by fMutex
};

#endif
