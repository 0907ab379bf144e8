// SPDX-License-Identifier: MIT
// PCoreCall: keeps the core in place while a call uses it.
#ifndef IXLAL_PCORECALL_H
#define IXLAL_PCORECALL_H

#include "core/PCallGate.h"
#include "core/PCore.h"

/// The core cannot end between construction and destruction, unless the stop has waited its time
/// for this call; even then everything that the call may use stays.
class PCoreCall
{
public:
    PCoreCall() noexcept : fGate(PCore::getGate())
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
    /// has let them go.
    PCore* core() const noexcept
    {
        return fGate ? PCore::getCore() : nullptr;
    }

private:
    PCallGate* fGate;
};

#endif
