// SPDX-License-Identifier: MIT
// PTimerList: the timers of a worker that will fire, in the order of their times.
#ifndef IXLAL_SDK_PTIMERLIST_H
#define IXLAL_SDK_PTIMERLIST_H

#include "helpers/PWorkerTask.h"

#include <memory>
#include <utility>

/// Timers with the same time fire in the order in which they were added. No operation allocates.
class PTimerList
{
public:
    PTimerList() = default;

    ~PTimerList()
    {
        clear();
    }

    PTimerList(const PTimerList&) = delete;
    PTimerList& operator=(const PTimerList&) = delete;

    /// The time of the first timer; the latest possible time without timers.
    PSleeper::Time firstDue() const noexcept
    {
        return fFirst ? fFirst->due : PSleeper::Time::max();
    }

    /// Adds a timer, which is not in a list.
    void add(const std::shared_ptr<PWorkerTimer>& iTimer) noexcept
    {
        std::shared_ptr<PWorkerTimer>* place = &fFirst;
        while (*place && (*place)->due <= iTimer->due)
        {
            place = &(*place)->next;
        }
        iTimer->next = std::move(*place);
        *place = iTimer;
    }

    /// Removes a timer; returns whether it was in the list.
    bool remove(const PWorkerTimer& iTimer) noexcept
    {
        std::shared_ptr<PWorkerTimer>* place = &fFirst;
        while (*place && place->get() != &iTimer)
        {
            place = &(*place)->next;
        }
        return *place && takeAt(*place);
    }

    /// Removes the first timer and returns it. There must be one.
    std::shared_ptr<PWorkerTimer> takeFirst() noexcept
    {
        return takeAt(fFirst);
    }

    /// Moves a periodic timer of the list that is due to its first time after iNow.
    void skip(const std::shared_ptr<PWorkerTimer>& iTimer, PSleeper::Time iNow) noexcept
    {
        if (iTimer->period.count() > 0 && iTimer->due <= iNow && remove(*iTimer))
        {
            iTimer->due += iTimer->period * ((iNow - iTimer->due) / iTimer->period + 1);
            add(iTimer);
        }
    }

    /// Removes all timers.
    void clear() noexcept
    {
        while (fFirst)
        {
            takeFirst();
        }
    }

    /// Exchanges the timers with those of ioOther.
    void swap(PTimerList& ioOther) noexcept
    {
        fFirst.swap(ioOther.fFirst);
    }

private:
    static std::shared_ptr<PWorkerTimer> takeAt(std::shared_ptr<PWorkerTimer>& ioPlace) noexcept
    {
        const std::shared_ptr<PWorkerTimer> taken = std::move(ioPlace);
        ioPlace = std::move(taken->next);
        return taken;
    }

    std::shared_ptr<PWorkerTimer> fFirst;
};

#endif
