// SPDX-License-Identifier: MIT
// PCallGate: admits calls to the core until it stops, and counts the calls inside.
#ifndef IXLAL_PCALLGATE_H
#define IXLAL_PCALLGATE_H

#include "core/PThreadStripe.h"
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
        // Refused before it is counted, so that repeated refused calls do not make a closed gate
        // look busy.
        if (isClosed())
        {
            return false;
        }
        ownCalls().fetch_add(1);
        if (!isClosed())
        {
            return true;
        }
        leave();
        return false;
    }

    /// By the thread that entered.
    void leave() noexcept
    {
        ownCalls().fetch_sub(1);
        if (fClosed)
        {
            tellCloser();
        }
    }

    void open() noexcept;

    /// Admits only the calling thread from now on, and waits at most iMilliseconds until all calls
    /// have left. Returns the number of calls that are still inside.
    unsigned int close(unsigned int iMilliseconds) noexcept;

private:
    /// The counts are in different cache lines, whatever the address of the gate is.
    struct Stripe
    {
        std::atomic<unsigned int> calls{0}; ///< for its order see fClosed
        char padding[60];
    };

    static constexpr unsigned int kStripes = 64;

    /// All calls of a thread are counted in one stripe, so that of a call inside is never 0.
    std::atomic<unsigned int>& ownCalls() noexcept
    {
        return fStripes[PThreadStripe::index() % kStripes].calls;
    }

    bool isClosed() const noexcept
    {
        return fClosed && !isCloser();
    }

    bool isCloser() const noexcept;
    [[gnu::cold]] void tellCloser() noexcept;
    unsigned int awaitCalls(unsigned int iMilliseconds) noexcept;
    unsigned int countCalls() const noexcept;

    /// The calls inside; threads share a stripe only if there are more than kStripes threads.
    Stripe fStripes[kStripes];

    /// A call is counted before it reads the mark, and the closer sets the mark before it reads the
    /// counts. All four are in one order, so the call sees the mark or is counted. A call that
    /// leaves sees the mark, too, or the closer sees the call's count without it.
    std::atomic<bool> fClosed;
    /// Set before the mark, whose order publishes it. A thread compares it only with itself.
    std::atomic<unsigned long> fCloser;
    [[maybe_unused]] const PCallGate* const fBefore; ///< so that leak checkers find it
    PMutex fMutex;
    PConditionalVar fLeft; ///< notified when a call leaves a closed gate
};

#endif
