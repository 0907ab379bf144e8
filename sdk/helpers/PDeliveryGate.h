// SPDX-License-Identifier: MIT
// PDeliveryGate: lets deliveries in until it is closed, and knows which are inside.
#ifndef IXLAL_SDK_PDELIVERYGATE_H
#define IXLAL_SDK_PDELIVERYGATE_H

#include "portinglayer/PCancelGuard.h"
#include "portinglayer/PProcess.h"

#include <condition_variable>
#include <mutex>
#include <thread>

/// The gate before a callable that several threads run. [any thread]
class PDeliveryGate
{
public:
    /// One run of the callable, on the stack of its thread.
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

        /// False when the gate was closed already: the callable must not run.
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

    PDeliveryGate() : fProcess(PProcess::getCurrentPID()), fVisits(nullptr), fClosed(false)
    {
    }

    PDeliveryGate(const PDeliveryGate&) = delete;
    PDeliveryGate& operator=(const PDeliveryGate&) = delete;

    /// Lets nobody in from now on, and waits until everybody has left. A thread that is inside
    /// itself does not wait, neither for itself nor for the others. Does nothing in a forked child,
    /// which has none of the threads that are inside.
    void close()
    {
        if (isParents())
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

    /// Whether another process made the gate; threads that hold its mutex may be missing here.
    bool isParents() const noexcept
    {
        return PProcess::getCurrentPID() != fProcess;
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

    const unsigned int fProcess;
    std::mutex fMutex;
    std::condition_variable fLeft;
    Visit* fVisits; ///< those inside, the latest first; guarded by fMutex, as is the next
    bool fClosed;
};

#endif
