// SPDX-License-Identifier: MIT
// PGate: admits threads to an object until the object ends.
#ifndef IXLAL_PGATE_H
#define IXLAL_PGATE_H

#include <atomic>

/// A thread enters the gate before it uses the object, and leaves it afterwards. The object closes
/// the gate before it is destroyed. The gate outlives the object, because both sides share
/// ownership of it. A thread may enter more than once. [any thread]
class PGate
{
public:
    PGate() noexcept;

    PGate(const PGate&) = delete;
    PGate& operator=(const PGate&) = delete;

    /// Enters; false when the gate is closed. After true the caller must call leave(). Never waits.
    bool enter() noexcept;

    void leave() noexcept;

    /// Closes the gate and waits until all threads have left. The caller must not be inside.
    void close() noexcept;

private:
    /// The closed bit and the number of threads inside; for its order see close.
    std::atomic<unsigned int> fState;
};

#endif
