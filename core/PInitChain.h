// SPDX-License-Identifier: MIT
// PInitChain: who waits for whom while plugins are initialised, in words.
#ifndef IXLAL_PINITCHAIN_H
#define IXLAL_PINITCHAIN_H

#include "portinglayer/PString.h"

#include <vector>

class PCorePlugin;
class PInitWait;

/// Follows a wait from thread to plugin and from plugin to the thread that initialises it, as far
/// as the core can see: through plugins that are being initialised and threads that wait for them.
/// The core's mutex must be held from construction to destruction. Without memory it
/// says that much. None throws.
class PInitChain
{
public:
    PInitChain(const std::vector<PCorePlugin*>& iRecords, const PInitWait* iWaits) noexcept;

    /// The chain that begins with the thread's wait for iTarget, which is being initialised. The
    /// text stays until the next description.
    const wchar_t* describeWait(unsigned long iThreadId, const PCorePlugin& iTarget) noexcept;

    /// The chain of a thread that asks for iTarget while initialising it itself.
    const wchar_t* describeLoop(unsigned long iThreadId, const PCorePlugin& iTarget) noexcept;

    /// Whether the chain that was described last leads back into itself: nobody on it will ever go
    /// on.
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
