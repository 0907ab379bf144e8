// PInitChain: who waits for whom while plugins are initialised, in words.
#ifndef IXLAL_PINITCHAIN_H
#define IXLAL_PINITCHAIN_H

#include <string>
#include <vector>

class PCorePlugin;
class PInitWait;

/// Follows a wait from thread to plugin and from plugin to the thread that initialises it, as far
/// as the core can see: through plugins that are being initialised and threads that wait for them.
/// The core's mutex must be held from construction to destruction. May throw std::bad_alloc.
class PInitChain
{
public:
    PInitChain(const std::vector<PCorePlugin*>& iRecords, const PInitWait* iWaits);

    /// The chain that begins with the thread's wait for iTarget, which is being initialised.
    std::wstring describeWait(unsigned long iThreadId, const PCorePlugin& iTarget);

    /// The chain of a thread that asks for iTarget while initialising it itself.
    std::wstring describeLoop(unsigned long iThreadId, const PCorePlugin& iTarget);

    /// Whether the chain that was described last leads back into itself: nobody on it will ever go
    /// on.
    bool isCircle() const
    {
        return fIsCircle;
    }

private:
    const PCorePlugin* findInit(unsigned long iThreadId, unsigned int iAfter) const;
    void appendThread(unsigned long iThreadId);
    void appendName(const PCorePlugin& iRecord);
    void appendInits(const PCorePlugin& iOutermost);
    void appendInnerInits(const PCorePlugin& iRecord);
    void followFrom(unsigned long iThreadId, const PCorePlugin& iTarget);
    void closeCircle();

    const std::vector<PCorePlugin*>& fRecords;
    const PInitWait* const fWaits;
    std::wstring fText;
    bool fIsCircle;
};

#endif
