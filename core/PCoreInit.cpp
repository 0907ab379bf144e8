// SPDX-License-Identifier: MIT
#include "PGuarded.h"
#include "core/PCore.h"
#include "core/PInitChain.h"
#include "core/PInitWait.h"
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

int PCore::initPlugin(PCorePlugin& ioRecord)
{
    PLockGuard lock(fMutex);
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
            // Who holds the mutex after a failed wait is not known, so it is left alone.
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

IXLA_PASSES_THREAD_END int PCore::runInit(PCorePlugin& ioRecord)
{
    try
    {
        return finishInit(ioRecord, callInit(ioRecord));
    }
    catch (PThreadEnd&)
    {
        // What else goes wrong has nobody to be told.
        (void)finishInit(ioRecord, eIxlaInitFailed);
        throw;
    }
}

int PCore::callInit(const PCorePlugin& iRecord) const
{
    void* const plugin = _pluginPointer(iRecord);
    PLogger::debug(getCoreLogger(), 0, L"[initPlugin][pg:%p] Init plugin in thread ID: %p", plugin,
                   _threadPointer(PThread::getCurrentThreadId()));
    fLog.writeFreeMemory(L"[initPlugin] Free mem: %llu");
    PLogger::info(getCoreLogger(), 0, L"[initPlugin] Proc mem before plugin: [%llu]",
                  fLog.readProcessMemory());
    const int result = guardedInit(iRecord);
    if (result != 0)
    {
        PLogger::error(getCoreLogger(), 0, L"[initPlugin][pg:%p] Failed to init plugin err: %d",
                       plugin, result);
    }
    else
    {
        PLogger::debug(getCoreLogger(), 0, L"[initPlugin][pg:%p] Init plugin done.", plugin);
    }
    fLog.writeFreeMemory(L"[initPlugin] Free mem: %llu");
    PLogger::info(getCoreLogger(), 0, L"[initPlugin] Proc mem after plugin: [%llu]",
                  fLog.readProcessMemory());
    return result;
}

/// Calls init; what a plugin throws counts as a failure.
IXLA_PASSES_THREAD_END int PCore::guardedInit(const PCorePlugin& iRecord) const
{
    try
    {
        return iRecord.fPlugin->init();
    }
    catch (PThreadEnd&)
    {
        PLogger::error(getCoreLogger(), 0, L"[initPlugin][pg:%p] Plugin ended its thread in init",
                       _pluginPointer(iRecord));
        throw;
    }
    catch (...)
    {
        PLogger::error(getCoreLogger(), 0, L"[initPlugin][pg:%p] Plugin threw an exception in init",
                       _pluginPointer(iRecord));
        return eIxlaInitFailed;
    }
}

int PCore::finishInit(PCorePlugin& ioRecord, int iResult)
{
    PLockGuard lock(fMutex);
    if (lock.result() != 0)
    {
        return eIxlaLockFailed;
    }
    ioRecord.fInitState = iResult == 0 ? PCorePlugin::eInitialised : PCorePlugin::eInitFailed;
    if (fCondVar.notifyAll() != 0)
    {
        // The waiters were not woken; the mutex stays held, as after a failed wait.
        lock.keepLocked();
        return eIxlaInitFailed;
    }
    return lock.unlock() == 0 ? iResult : eIxlaUnlockFailed;
}

int PCore::nl_awaitInit(PCorePlugin& iRecord, bool& oWaitFailed)
{
    void* const plugin = _pluginPointer(iRecord);
    PLogger::debug(getCoreLogger(), 0,
                   L"[intiPlugin][pg:%p] Waiting other thread to init plugin...", plugin);
    const unsigned long self = PThread::getCurrentThreadId();
    const PInitWait listed(fFirstWait, self, iRecord);
    const long long start = PTime::getTickCount();
    while (iRecord.fInitState == PCorePlugin::eInitialising)
    {
        if (iRecord.fInitThreadId == self && self != 0)
        {
            PLogger::error(getCoreLogger(), 0,
                           L"[intiPlugin][pg:%p] Detect plugin init loop lock thread ID: %p",
                           plugin, _threadPointer(self));
            nl_logLoop(iRecord);
            return eIxlaInitLoop;
        }
        const int result = fCondVar.wait(&fMutex, kWaitMilliseconds);
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
    PLogger::debug(getCoreLogger(), 0,
                   L"[intiPlugin][pg:%p] Waiting finished iCorePg.fInitState: %d", plugin,
                   iRecord.fInitState);
    return iRecord.fInitState == PCorePlugin::eInitFailed ? eIxlaInitFailed : eIxlaOk;
}

void PCore::nl_logWait(const PCorePlugin& iRecord)
{
    PLogger* const logger = getCoreLogger();
    if (!logger || iRecord.fInitState != PCorePlugin::eInitialising)
    {
        return;
    }
    PInitChain chain(fCorePlugins, fFirstWait);
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

void PCore::nl_logLoop(const PCorePlugin& iRecord)
{
    if (!getCoreLogger())
    {
        return;
    }
    PInitChain chain(fCorePlugins, fFirstWait);
    const wchar_t* const said = chain.describeLoop(PThread::getCurrentThreadId(), iRecord);
    PLogger::error(getCoreLogger(), 0, L"[intiPlugin][pg:%p] Init loop: %ls",
                   _pluginPointer(iRecord), said);
}

int PCore::getInstanceInternal(const PLiteral& iInterfaceId, IBase*& oInstance)
{
    PLogger* const logger = getCoreLogger();
    PLogger::debug(logger, 2, L"%ls", kCoreLogFrame);
    PLogger::debug(logger, 2, L"[getInstanceInternal] Get instance for interface ID: %ls",
                   iInterfaceId.ptr());
    PCorePlugin* const found = findPlugin(iInterfaceId);
    if (!found)
    {
        PLogger::error(logger, 0, L"[getInstanceInternal] Unknown interface ID: %ls",
                       iInterfaceId.ptr());
        return eIxlaUnknownInterface;
    }
    PCorePlugin& record = *found;
    if (record.fLibrary && logger && logger->isLogged(1))
    {
        PLogger::info(logger, 1, L"[getInstanceInternal] Call initPlugin() for %ls",
                      record.fLibrary->getName().ptr());
    }
    int result = initPlugin(record);
    if (result != 0)
    {
        PLogger::error(logger, 0, L"[getInstanceInternal][pg:%p] Failed to init plugin err: %d",
                       _pluginPointer(record), result);
        return eIxlaInitFailed;
    }
    PLogger::debug(logger, 2, L"[getInstanceInternal][pg:%p] Get instance from plugin",
                   _pluginPointer(record));
    result = ixlaGuarded([&] { return guardedGetInstance(record, iInterfaceId, oInstance); },
                         eIxlaInitFailed);
    if (result == 0)
    {
        PLogger::debug(logger, 2, L"[getInstanceInternal][pg:%p] Return instance %p",
                       _pluginPointer(record), static_cast<void*>(oInstance));
    }
    else
    {
        PLogger::error(logger, 0, L"[getInstanceInternal][pg:%p] Failed to get instance err: %d",
                       _pluginPointer(record), result);
    }
    PLogger::debug(logger, 2, L"%ls", kCoreLogFrame);
    return result;
}

IXLA_PASSES_THREAD_END int PCore::guardedGetInstance(const PCorePlugin& iRecord,
                                                     const PLiteral& iInterfaceId,
                                                     IBase*& oInstance) const
{
    try
    {
        return iRecord.fPlugin->getInstance(iInterfaceId, oInstance);
    }
    catch (PThreadEnd&)
    {
        PLogger::error(getCoreLogger(), 0,
                       L"[getInstanceInternal][pg:%p] Plugin ended its thread in getInstance",
                       _pluginPointer(iRecord));
        throw;
    }
    catch (...)
    {
        PLogger::error(getCoreLogger(), 0,
                       L"[getInstanceInternal][pg:%p] Plugin threw an exception in getInstance",
                       _pluginPointer(iRecord));
        throw;
    }
}
