// SPDX-License-Identifier: MIT
// PCallGate: lets calls into the core until it stops, and knows how many are inside.
#ifndef IXLAL_PCALLGATE_H
#define IXLAL_PCALLGATE_H

#include "portinglayer/PConditionalVar.h"
#include "portinglayer/PMutex.h"

#include <atomic>

/// A call enters before it looks for the core and leaves when it touches the core no more. Gates
/// are never destroyed: a thread may come to one at any time. [any thread]
class PCallGate
{
public:
    /// A closed gate. iBefore is the one that a forked child has from its parent, or null.
    explicit PCallGate(const PCallGate* iBefore = nullptr) noexcept;

    PCallGate(const PCallGate&) = delete;
    PCallGate& operator=(const PCallGate&) = delete;

    /// True while the gate is open, and for the thread that closed it; the caller then leaves
    /// later. A call may enter again from inside. Never waits.
    bool enter() noexcept
    {
        // The state is looked at before it is changed, so that callers who are refused again and
        // again don't make a closed gate look busy.
        if (isClosed(fState.load()))
        {
            return false;
        }
        if (!isClosed(fState.fetch_add(1)))
        {
            return true;
        }
        leave();
        return false;
    }

    void leave() noexcept
    {
        if (fState.fetch_sub(1) == (kClosed | 1u))
        {
            tellCloser();
        }
    }

    void open() noexcept;

    /// Lets in the calling thread alone from now on, and waits until everybody has left, but not
    /// longer than iMilliseconds. Returns how many are still inside.
    unsigned int close(unsigned int iMilliseconds) noexcept;

private:
    static constexpr unsigned int kClosed = 1u << 31;

    bool isClosed(unsigned int iState) const noexcept
    {
        return (iState & kClosed) != 0 && !isCloser();
    }

    bool isCloser() const noexcept;
    void tellCloser() noexcept;
    void awaitCalls(unsigned int iMilliseconds) noexcept;

    [[maybe_unused]] const PCallGate* const fBefore; ///< so that leak checkers find it
    std::atomic<unsigned int> fState; ///< the closed mark, and the number of calls inside
    std::atomic<unsigned long> fCloser;
    PMutex fMutex;
    PConditionalVar fLeft; ///< signalled when the last call leaves a closed gate
};

#endif
