// SPDX-License-Identifier: MIT
// PDeliveryGate: admits deliveries until it is closed, and waits for those in progress.
#ifndef IXLAL_SDK_PDELIVERYGATE_H
#define IXLAL_SDK_PDELIVERYGATE_H

#include "helpers/PForkCheck.h"
#include "portinglayer/PCancelGuard.h"

#include <condition_variable>
#include <mutex>
#include <thread>

/// Guards a callable that several threads run: after close() it does not run any more. [any thread]
class PDeliveryGate
{
public:
    /// One run of the callable; a local variable of its thread.
    class Visit
    {
    public:
        /// Enters unless the gate is closed.
        explicit Visit(PDeliveryGate& ioGate)
            : fGate(ioGate), fThread(std::this_thread::get_id()), fNext(nullptr)
        {
            fInside = fGate.enter(*this);
        }

        ~Visit()
        {
            if (fInside)
            {
                fGate.leave(*this);
            }
        }

        Visit(const Visit&) = delete;
        Visit& operator=(const Visit&) = delete;

        /// False when the gate is closed: the callable must not run.
        explicit operator bool() const noexcept
        {
            return fInside;
        }

    private:
        friend class PDeliveryGate;

        PDeliveryGate& fGate;
        const std::thread::id fThread;
        Visit* fNext; ///< guarded by the mutex of the gate
        bool fInside;
    };

    PDeliveryGate() : fVisits(nullptr), fClosed(false)
    {
    }

    PDeliveryGate(const PDeliveryGate&) = delete;
    PDeliveryGate& operator=(const PDeliveryGate&) = delete;

    /// Closes the gate and waits until all visits have ended. A thread with a visit of its own does
    /// not wait, neither for itself nor for others. Does nothing in a forked child, because the
    /// threads with a visit do not exist there.
    void close()
    {
        if (fFork.isChild())
        {
            return;
        }
        std::unique_lock<std::mutex> lock(fMutex);
        fClosed = true;
        if (!nl_isInside(std::this_thread::get_id()))
        {
            const PCancelGuard guard;
            fLeft.wait(lock, [this] { return !fVisits; });
        }
    }

private:
    bool enter(Visit& ioVisit)
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        if (fClosed)
        {
            return false;
        }
        ioVisit.fNext = fVisits;
        fVisits = &ioVisit;
        return true;
    }

    void leave(const Visit& iVisit)
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        Visit** place = &fVisits;
        while (*place != &iVisit)
        {
            place = &(*place)->fNext;
        }
        *place = iVisit.fNext;
        fLeft.notify_all();
    }

    bool nl_isInside(std::thread::id iThread) const
    {
        const Visit* visit = fVisits;
        while (visit && visit->fThread != iThread)
        {
            visit = visit->fNext;
        }
        return visit != nullptr;
    }

    const PForkCheck fFork;
    std::mutex fMutex;
    std::condition_variable fLeft;
    Visit* fVisits; ///< the visits in progress, the latest first; guarded by fMutex
    bool fClosed;   ///< guarded by fMutex
};

#endif
