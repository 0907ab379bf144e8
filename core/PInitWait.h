// SPDX-License-Identifier: MIT
// PInitWait: a thread that waits for the initialisation of a plugin.
#ifndef IXLAL_PINITWAIT_H
#define IXLAL_PINITWAIT_H

class PCorePlugin;

/// An entry in the core's list of waits from construction to destruction. The core's mutex guards
/// the list; the caller holds it during both. Allocates nothing, so that a wait cannot fail because
/// of the list.
class PInitWait
{
public:
    PInitWait(PInitWait*& ioFirst, unsigned long iThreadId, const PCorePlugin& iRecord) noexcept
        : fThreadId(iThreadId), fRecord(iRecord), fFirst(ioFirst), fNext(ioFirst)
    {
        ioFirst = this;
    }

    ~PInitWait()
    {
        PInitWait** link = &fFirst;
        while (*link != this)
        {
            link = &(*link)->fNext;
        }
        *link = fNext;
    }

    PInitWait(const PInitWait&) = delete;
    PInitWait& operator=(const PInitWait&) = delete;

    /// The wait of a thread in the list that starts with iFirst, or null.
    static const PInitWait* find(const PInitWait* iFirst, unsigned long iThreadId) noexcept
    {
        const PInitWait* wait = iFirst;
        while (wait && wait->fThreadId != iThreadId)
        {
            wait = wait->fNext;
        }
        return wait;
    }

    const PCorePlugin& record() const noexcept
    {
        return fRecord;
    }

private:
    const unsigned long fThreadId;
    const PCorePlugin& fRecord;
    PInitWait*& fFirst;
    PInitWait* fNext;
};

#endif
