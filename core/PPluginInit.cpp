// SPDX-License-Identifier: MIT
#include "core/PPluginInit.h"

#include "Ixla.h"
#include "PGuarded.h"
#include "core/PCoreLog.h"
#include "core/PInitChain.h"
#include "core/PInitWait.h"
#include "core/PPluginRegistry.h"
#include "portinglayer/PLockGuard.h"
#include "portinglayer/PThread.h"
#include "portinglayer/PTime.h"

namespace
{
constexpr unsigned int kWaitMilliseconds = 5000;

void* _threadPointer(unsigned long iThreadId)
{
    // NOLINTNEXTLINE(performance-no-int-to-ptr): shown with %p, never followed
    return reinterpret_cast<void*>(iThreadId);
}

void* _pluginPointer(const PCorePlugin& iRecord)
{
    return iRecord.fPlugin.get();
}
} // namespace

int PPluginInit::initOnce(PCorePlugin& ioRecord)
{
    PLockGuard lock(fLock.fMutex);
    if (lock.result() != 0)
    {
        return eIxlaLockFailed;
    }
    if (ioRecord.fUnloaded)
    {
        return eIxlaPluginNotFound;
    }
    if (ioRecord.fInitState == PCorePlugin::eInitFailed)
    {
        return eIxlaInitFailed;
    }
    if (ioRecord.fInitState == PCorePlugin::eInitialising)
    {
        bool waitFailed = false;
        const int result = nl_awaitInit(ioRecord, waitFailed);
        if (waitFailed)
        {
            // The holder of the mutex is unknown after a failed wait, so the mutex stays as it is.
            lock.keepLocked();
            return result;
        }
        return lock.unlock() == 0 ? result : eIxlaUnlockFailed;
    }
    if (ioRecord.fInitState != PCorePlugin::eNotInitialised)
    {
        return eIxlaOk;
    }
    ioRecord.fInitState = PCorePlugin::eInitialising;
    ioRecord.fInitThreadId = PThread::getCurrentThreadId();
    ioRecord.fInitOrder = ++fInitCount;
    if (lock.unlock() != 0)
    {
        return eIxlaUnlockFailed;
    }
    return runInit(ioRecord);
}

IXLA_PASSES_THREAD_END int PPluginInit::runInit(PCorePlugin& ioRecord)
{
    try
    {
        return finishInit(ioRecord, callInit(ioRecord));
    }
    catch (PThreadEnd&)
    {
        // The thread ends, so no caller could take a further code.
        (void)finishInit(ioRecord, eIxlaInitFailed);
        throw;
    }
}

int PPluginInit::callInit(const PCorePlugin& iRecord) const
{
    void* const plugin = _pluginPointer(iRecord);
    PLogger::debug(fLog.logger(), 0, L"[initPlugin][pg:%p] Init plugin in thread ID: %p", plugin,
                   _threadPointer(PThread::getCurrentThreadId()));
    fLog.writeFreeMemory(L"[initPlugin] Free mem: %llu");
    PLogger::info(fLog.logger(), 0, L"[initPlugin] Proc mem before plugin: [%llu]",
                  fLog.readProcessMemory());
    const int result = guardedInit(iRecord);
    if (result != 0)
    {
        PLogger::error(fLog.logger(), 0, L"[initPlugin][pg:%p] Failed to init plugin err: %d",
                       plugin, result);
    }
    else
    {
        PLogger::debug(fLog.logger(), 0, L"[initPlugin][pg:%p] Init plugin done.", plugin);
    }
    fLog.writeFreeMemory(L"[initPlugin] Free mem: %llu");
    PLogger::info(fLog.logger(), 0, L"[initPlugin] Proc mem after plugin: [%llu]",
                  fLog.readProcessMemory());
    return result;
}

/// Calls init; an exception of the plugin counts as a failure.
IXLA_PASSES_THREAD_END int PPluginInit::guardedInit(const PCorePlugin& iRecord) const
{
    try
    {
        return iRecord.fPlugin->init();
    }
    catch (PThreadEnd&)
    {
        PLogger::error(fLog.logger(), 0, L"[initPlugin][pg:%p] Plugin ended its thread in init",
                       _pluginPointer(iRecord));
        throw;
    }
    catch (...)
    {
        PLogger::error(fLog.logger(), 0, L"[initPlugin][pg:%p] Plugin threw an exception in init",
                       _pluginPointer(iRecord));
        return eIxlaInitFailed;
    }
}

int PPluginInit::finishInit(PCorePlugin& ioRecord, int iResult)
{
    PLockGuard lock(fLock.fMutex);
    if (lock.result() != 0)
    {
        return eIxlaLockFailed;
    }
    ioRecord.fInitState = iResult == 0 ? PCorePlugin::eInitialised : PCorePlugin::eInitFailed;
    ioRecord.fReady.store(iResult == 0 && !ioRecord.fUnloaded, std::memory_order_release);
    if (fLock.fCondVar.notifyAll() != 0)
    {
        // The waiters were not woken; the mutex stays held, as after a failed wait.
        lock.keepLocked();
        return eIxlaInitFailed;
    }
    return lock.unlock() == 0 ? iResult : eIxlaUnlockFailed;
}

int PPluginInit::nl_awaitInit(PCorePlugin& iRecord, bool& oWaitFailed)
{
    void* const plugin = _pluginPointer(iRecord);
    PLogger::debug(fLog.logger(), 0, L"[intiPlugin][pg:%p] Waiting other thread to init plugin...",
                   plugin);
    const unsigned long self = PThread::getCurrentThreadId();
    const PInitWait listed(fFirstWait, self, iRecord);
    const long long start = PTime::getTickCount();
    while (iRecord.fInitState == PCorePlugin::eInitialising)
    {
        if (iRecord.fInitThreadId == self && self != 0)
        {
            PLogger::error(fLog.logger(), 0,
                           L"[intiPlugin][pg:%p] Detect plugin init loop lock thread ID: %p",
                           plugin, _threadPointer(self));
            nl_logLoop(iRecord);
            return eIxlaInitLoop;
        }
        const int result = fLock.fCondVar.wait(&fLock.fMutex, kWaitMilliseconds);
        if (result != 0 && result != PConditionalVar::eTimeout)
        {
            oWaitFailed = true;
            return eIxlaInitFailed;
        }
        const long long waited = PTime::getTickCountDiff(start, PTime::getTickCount());
        if (result == PConditionalVar::eTimeout || waited >= kWaitMilliseconds)
        {
            nl_logWait(iRecord);
        }
    }
    PLogger::debug(fLog.logger(), 0, L"[intiPlugin][pg:%p] Waiting finished iCorePg.fInitState: %d",
                   plugin, iRecord.fInitState);
    return iRecord.fInitState == PCorePlugin::eInitFailed ? eIxlaInitFailed : eIxlaOk;
}

void PPluginInit::nl_logWait(const PCorePlugin& iRecord)
{
    PLogger* const logger = fLog.logger();
    if (!logger || iRecord.fInitState != PCorePlugin::eInitialising)
    {
        return;
    }
    PInitChain chain(fRegistry.records(), fFirstWait);
    const wchar_t* const said = chain.describeWait(PThread::getCurrentThreadId(), iRecord);
    const wchar_t* const format = L"[intiPlugin][pg:%p] Still waiting: %ls";
    if (chain.isCircle())
    {
        PLogger::error(logger, 0, format, _pluginPointer(iRecord), said);
    }
    else
    {
        PLogger::info(logger, 0, format, _pluginPointer(iRecord), said);
    }
}

void PPluginInit::nl_logLoop(const PCorePlugin& iRecord)
{
    if (!fLog.logger())
    {
        return;
    }
    PInitChain chain(fRegistry.records(), fFirstWait);
    const wchar_t* const said = chain.describeLoop(PThread::getCurrentThreadId(), iRecord);
    PLogger::error(fLog.logger(), 0, L"[intiPlugin][pg:%p] Init loop: %ls", _pluginPointer(iRecord),
                   said);
}
