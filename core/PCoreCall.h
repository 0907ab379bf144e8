// SPDX-License-Identifier: MIT
// PCoreCall: keeps the core in place while a call uses it.
#ifndef IXLAL_PCORECALL_H
#define IXLAL_PCORECALL_H

#include "core/PCallGate.h"
#include "core/PCore.h"

/// The core is not destroyed between construction and destruction: the stop waits for the call, and
/// never destroys the core if the call does not leave in time.
class PCoreCall
{
public:
    PCoreCall() noexcept : fGate(PCoreLifetime::getGate())
    {
        if (fGate && !fGate->enter())
        {
            fGate = nullptr;
        }
    }

    ~PCoreCall()
    {
        if (fGate)
        {
            fGate->leave();
        }
    }

    PCoreCall(const PCoreCall&) = delete;
    PCoreCall& operator=(const PCoreCall&) = delete;

    /// The core, also while it starts; null when there is none, and to other threads once a stop
    /// has closed the gate.
    PCore* core() const noexcept
    {
        return fGate ? PCore::getCore() : nullptr;
    }

private:
    PCallGate* fGate;
};

#endif
