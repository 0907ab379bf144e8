// SPDX-License-Identifier: MIT
// PWorkerTask, PWorkerTimer: what a worker runs.
#ifndef IXLAL_SDK_PWORKERTASK_H
#define IXLAL_SDK_PWORKERTASK_H

#include "helpers/PSleeper.h"

#include <chrono>
#include <memory>
#include <utility>

/// A callable of any type.
class PWorkerTask
{
public:
    PWorkerTask() = default;

    virtual ~PWorkerTask()
    {
    }

    PWorkerTask(const PWorkerTask&) = delete;
    PWorkerTask& operator=(const PWorkerTask&) = delete;

    /// Calls the callable; may throw.
    virtual void run() = 0;

    /// Moves iFunction into a new task. Throws std::bad_alloc.
    template <class TFunction>
    static std::shared_ptr<PWorkerTask> make(TFunction& ioFunction)
    {
        return std::make_shared<Of<TFunction>>(std::move(ioFunction));
    }

private:
    template <class TFunction>
    class Of;
};

/// Of a TFunction.
template <class TFunction>
class PWorkerTask::Of final : public PWorkerTask
{
public:
    explicit Of(TFunction iFunction) : fFunction(std::move(iFunction))
    {
    }

    void run() override
    {
        (void)fFunction();
    }

private:
    TFunction fFunction;
};

/// A task that runs at a time. All members are guarded by the mutex of the queue.
struct PWorkerTimer
{
    PWorkerTimer() noexcept : period(0)
    {
    }

    PSleeper::Time due;                 ///< the next time
    std::chrono::milliseconds period;   ///< 0 for a timer that fires once
    std::shared_ptr<PWorkerTask> task;  ///< empty when it has fired once
    std::shared_ptr<PWorkerTimer> next; ///< the one that is due after it
};

#endif
