// SPDX-License-Identifier: MIT
#include "core/PCoreLifetime.h"

#include "Ixla.h"
#include "PGuarded.h"
#include "core/PCallGate.h"
#include "core/PCoreCall.h"
#include "portinglayer/PCancelGuard.h"
#include "portinglayer/PFork.h"

#include <new>

namespace
{
/// True while a thread starts or stops the core. The order is that of a lock, at least: the next
/// thread sees what the last one did.
std::atomic<bool> sChanging{false};

/// True in a child whose parent had a core; only the fork sets it, while the child has one thread,
/// so that any order is enough.
std::atomic<bool> sIsParents{false};

/// The gate that a child inherits from its parent; only the fork sets it.
const PCallGate* sParentsGate = nullptr;

/// The exclusive right of one thread to start or stop the core.
class Change
{
public:
    /// Takes the right if iWanted is true. A start beside a core and a stop without one do not want
    /// it, so that they never refuse a call of another thread.
    explicit Change(bool iWanted) noexcept
        : fGranted(iWanted && !sIsParents && !sChanging.exchange(true))
    {
    }

    ~Change()
    {
        if (fGranted)
        {
            sChanging = false;
        }
    }

    Change(const Change&) = delete;
    Change& operator=(const Change&) = delete;

    bool granted() const noexcept
    {
        return fGranted;
    }

private:
    const bool fGranted;
};

// Registration fails only without memory.
[[maybe_unused]] const int sRegistered = PFork::tellChildren(&PCoreLifetime::leaveToParent);
} // namespace

std::atomic<PCore*> PCoreLifetime::fCore{nullptr};
std::atomic<PCallGate*> PCoreLifetime::fGate{nullptr};

// The gate may count threads that the child does not have.
void PCoreLifetime::leaveToParent() noexcept
{
    sIsParents = sIsParents || sChanging || getCore();
    if (const PCallGate* const gate = fGate.exchange(nullptr))
    {
        sParentsGate = gate;
    }
}

int PCoreLifetime::ixlaStart(const PString* iArgs, unsigned int iCount)
{
    const Change change(!getCore());
    if (!change.granted() || getCore())
    {
        // The core is not destroyed during the call, so its log is not either.
        const PCoreCall call;
        const PCore* const core = call.core();
        PLogger::error(core ? core->getCoreLogger() : nullptr, 0,
                       L"[PCore] Try to start already started core.");
        return eIxlaCoreExists;
    }
    return start(iArgs, iCount);
}

int PCoreLifetime::ixlaStop() noexcept
{
    const Change change(getCore() != nullptr);
    // The thread is not cancelled in the destructor of a plugin: the plugin would stay half
    // destroyed.
    const PCancelGuard guard;
    PCore* const core = change.granted() ? getCore() : nullptr;
    if (!core)
    {
        return eIxlaCoreNotStarted;
    }
    const int result = ixlaGuarded([core] { return core->stopFlow(); });
    endCore();
    return result;
}

int PCoreLifetime::start(const PString* iArgs, unsigned int iCount)
{
    PCallGate* const gate = provideGate();
    PCore* const core = gate ? new (std::nothrow) PCore : nullptr;
    if (!core)
    {
        return eIxlaNoMemory;
    }
    fCore.store(core, std::memory_order_release);
    gate->open();
    const int result = runStart(*core, iArgs, iCount);
    if (result != 0)
    {
        endCore();
    }
    return result;
}

IXLA_PASSES_THREAD_END int PCoreLifetime::runStart(PCore& ioCore, const PString* iArgs,
                                                   unsigned int iCount)
{
    try
    {
        return ixlaGuarded([&] { return ioCore.startFlow(iArgs, iCount); });
    }
    catch (PThreadEnd&)
    {
        PLogger::error(ioCore.getCoreLogger(), 0,
                       L"[PCore] Plugin ended the thread that starts the core");
        endCore();
        throw;
    }
}

PCallGate* PCoreLifetime::provideGate() noexcept
{
    if (!getGate())
    {
        fGate = new (std::nothrow) PCallGate(sParentsGate);
    }
    return getGate();
}

void PCoreLifetime::endCore() noexcept
{
    const PCancelGuard guard;
    PCore* const core = fCore.exchange(nullptr);
    if (core->end())
    {
        delete core;
    }
}
