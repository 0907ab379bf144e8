// SPDX-License-Identifier: MIT
// PCoreLifetime: creates and ends the one core of the process.
#ifndef IXLAL_PCORELIFETIME_H
#define IXLAL_PCORELIFETIME_H

#include <atomic>

class PCallGate;
class PCore;
class PString;

/// Owns the core and the gate through which calls enter it. One thread at a time starts or stops.
/// [any thread]
class PCoreLifetime
{
public:
    PCoreLifetime() = delete;

    /// The core, also while it starts; null when there is none.
    static PCore* getCore() noexcept
    {
        return fCore.load(std::memory_order_acquire);
    }

    /// The gate that calls from outside enter, see PCoreCall; null before the first start, after a
    /// stop with calls that did not leave, and in a forked child.
    static PCallGate* getGate() noexcept
    {
        return fGate.load(std::memory_order_acquire);
    }

    /// Returns the gate and forgets it: the next core gets a new one.
    static PCallGate* takeGate() noexcept
    {
        return fGate.exchange(nullptr);
    }

    /// For the child after a fork. A core that its parent had, or was starting or stopping, belongs
    /// to the parent: the child refuses all calls from now on and neither stops nor destroys it.
    /// Without such a core the child may start one.
    static void leaveToParent() noexcept;

    /// As the exported functions, whose contracts are in Ixla.h.
    static int ixlaStart(const PString* iArgs, unsigned int iCount);
    [[gnu::cold]] static int ixlaStop() noexcept;

private:
    [[gnu::cold]] static int start(const PString* iArgs, unsigned int iCount);
    [[gnu::cold]] static int runStart(PCore& ioCore, const PString* iArgs, unsigned int iCount);
    static PCallGate* provideGate() noexcept;
    [[gnu::cold]] static void endCore() noexcept;

    // Release and acquire order: whoever gets the pointer sees the object constructed. That the
    // core stays while it is used follows from the gate.
    static std::atomic<PCore*> fCore;
    static std::atomic<PCallGate*> fGate;
};

#endif
