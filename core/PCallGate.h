// SPDX-License-Identifier: MIT
// PCallGate: admits calls to the core until it stops, and counts the calls inside.
#ifndef IXLAL_PCALLGATE_H
#define IXLAL_PCALLGATE_H

#include "portinglayer/PConditionalVar.h"
#include "portinglayer/PMutex.h"

#include <atomic>

/// A call enters before it reads the pointer to the core and leaves after its last use of the core.
/// Gates are never destroyed, because a thread may enter one at any time. [any thread]
class PCallGate
{
public:
    /// Creates a closed gate. iBefore is the gate that a forked child inherits, or null.
    explicit PCallGate(const PCallGate* iBefore = nullptr) noexcept;

    PCallGate(const PCallGate&) = delete;
    PCallGate& operator=(const PCallGate&) = delete;

    /// Enters; returns true while the gate is open, and always to the thread that closed it. After
    /// true the caller must leave. A call inside may enter again. Never waits.
    bool enter() noexcept
    {
        // The state is read before it is changed, so that repeated refused calls do not make a
        // closed gate look busy.
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

    /// Admits only the calling thread from now on, and waits at most iMilliseconds until all calls
    /// have left. Returns the number of calls that are still inside.
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
    std::atomic<unsigned int> fState; ///< the closed bit and the number of calls inside
    std::atomic<unsigned long> fCloser;
    PMutex fMutex;
    PConditionalVar fLeft; ///< signalled when the last call leaves a closed gate
};

#endif
