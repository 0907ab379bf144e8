// SPDX-License-Identifier: MIT
// PGate: lets threads into an object until it is about to end.
#ifndef IXLAL_PGATE_H
#define IXLAL_PGATE_H

#include <atomic>

/// Whoever wants to use the object enters first and leaves afterwards; the object closes the gate
/// before it ends. The gate outlives the object: both sides share it. A thread may enter again
/// while it is inside. [any thread]
class PGate
{
public:
    PGate() noexcept;

    PGate(const PGate&) = delete;
    PGate& operator=(const PGate&) = delete;

    /// True while the gate is open; the caller then leaves later. Never waits.
    bool enter() noexcept;

    void leave() noexcept;

    /// Lets nobody in any more and waits until all have left. The caller must not be inside.
    void close() noexcept;

private:
    std::atomic<unsigned int> fState; ///< the closed mark, and the number of threads inside
};

#endif
