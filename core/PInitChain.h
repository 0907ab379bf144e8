// SPDX-License-Identifier: MIT
// PInitChain: describes which thread waits for which plugin during initialisations.
#ifndef IXLAL_PINITCHAIN_H
#define IXLAL_PINITCHAIN_H

#include "portinglayer/PString.h"

#include <vector>

class PCorePlugin;
class PInitWait;

/// Follows a wait from a thread to a plugin and from a plugin to the thread that initialises it.
/// The core knows the initialisations in progress and the threads that wait for them. The caller
/// holds the core's mutex from construction to destruction. Without memory the text says so. No
/// operation throws.
class PInitChain
{
public:
    PInitChain(const std::vector<PCorePlugin*>& iRecords, const PInitWait* iWaits) noexcept;

    /// The chain that starts with the thread's wait for iTarget, which is being initialised. The
    /// text is valid until the next description.
    const wchar_t* describeWait(unsigned long iThreadId, const PCorePlugin& iTarget) noexcept;

    /// The chain of a thread that looks up iTarget while it initialises iTarget.
    const wchar_t* describeLoop(unsigned long iThreadId, const PCorePlugin& iTarget) noexcept;

    /// Whether the last described chain is a cycle, which is a deadlock.
    bool isCircle() const noexcept
    {
        return fIsCircle;
    }

private:
    template <class TTell>
    const wchar_t* describe(const TTell& iTell) noexcept;
    void tellWait(unsigned long iThreadId, const PCorePlugin& iTarget);
    void tellLoop(unsigned long iThreadId, const PCorePlugin& iTarget);
    const PCorePlugin* findInit(unsigned long iThreadId, unsigned int iAfter) const;
    void appendThread(unsigned long iThreadId);
    void appendName(const PCorePlugin& iRecord);
    void appendInits(const PCorePlugin& iOutermost);
    void appendInnerInits(const PCorePlugin& iRecord);
    void followFrom(unsigned long iThreadId, const PCorePlugin& iTarget);
    void closeCircle();

    const std::vector<PCorePlugin*>& fRecords;
    const PInitWait* const fWaits;
    PString fText;
    bool fIsCircle;
};

#endif
