// SPDX-License-Identifier: MIT
#include "core/PCore.h"

#include "PGuarded.h"
#include "core/PAutostart.h"
#include "core/PCallGate.h"
#include "core/PCoreCall.h"
#include "core/PPluginLoader.h"
#include "portinglayer/PCancelGuard.h"
#include "portinglayer/PFork.h"

#include <new>

namespace
{
/// True while a thread starts or stops the core.
std::atomic<bool> sChanging{false};

/// True in a child whose parent had a core; only the fork sets it.
std::atomic<bool> sIsParents{false};

/// The gate that a child has from its parent; only the fork sets it.
const PCallGate* sParentsGate = nullptr;

/// The right to start or stop the core, which one thread has at a time.
class Change
{
public:
    Change() noexcept : fGranted(!sIsParents && !sChanging.exchange(true))
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
} // namespace

namespace
{
// Fails without memory only, before there is a core.
[[maybe_unused]] const int sTold = PFork::tellChildren(&PCore::leaveToParent);
} // namespace

std::atomic<PCore*> PCore::fCore{nullptr};
std::atomic<PCallGate*> PCore::fGate{nullptr};
PCore* PCore::fKeptCores = nullptr;

PCore::PCore() noexcept : fNotifyExit(false), fKept(false), fKeptGate(nullptr), fNextKept(nullptr)
{
}

int PCore::ixlaStart(const PString* iArgs, unsigned int iCount)
{
    const Change change;
    if (!change.granted() || getCore())
    {
        // The log is there as long as the core that it belongs to.
        const PCoreCall call;
        const PCore* const core = call.core();
        PLogger::error(core ? core->getCoreLogger() : nullptr, 0,
                       L"[PCore] Try to start already started core.");
        return eIxlaCoreExists;
    }
    return start(iArgs, iCount);
}

int PCore::start(const PString* iArgs, unsigned int iCount)
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

IXLA_PASSES_THREAD_END int PCore::runStart(PCore& ioCore, const PString* iArgs, unsigned int iCount)
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

// The gate may count threads that the child does not have.
void PCore::leaveToParent() noexcept
{
    sIsParents = sIsParents || sChanging || getCore();
    if (const PCallGate* const gate = fGate.exchange(nullptr))
    {
        sParentsGate = gate;
    }
}

PCallGate* PCore::provideGate() noexcept
{
    if (!getGate())
    {
        fGate = new (std::nothrow) PCallGate(sParentsGate);
    }
    return getGate();
}

int PCore::ixlaStop() noexcept
{
    const Change change;
    // Also for the destructors of plugins: what they destroy must not stay half.
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

void PCore::endCore() noexcept
{
    const PCancelGuard guard;
    PCore* const core = fCore.exchange(nullptr);
    core->partFromNotifier();
    if (core->letCallsLeave())
    {
        delete core;
    }
    else
    {
        core->keep();
    }
}

int PCore::loadInternalPlugins()
{
    return PPluginLoader(fParts.fLog, fParts.fServices, fParts.fRegistry).loadInternalPlugins();
}

int PCore::loadPluginLib(const PLiteral& iPath)
{
    return PPluginLoader(fParts.fLog, fParts.fServices, fParts.fRegistry).loadPluginLib(iPath);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the loader takes references of its own
int PCore::processPlugin(PBaseptr<IPlugin> iPlugin, PPtr<PLibrary> iLibrary)
{
    return PPluginLoader(fParts.fLog, fParts.fServices, fParts.fRegistry)
        .processPlugin(iPlugin, iLibrary);
}

int PCore::initAutoStartPlugin(PString& iPluginName)
{
    return PAutostart(fParts.fLog, fParts.fRegistry, fParts.fInit).initAutoStartPlugin(iPluginName);
}
