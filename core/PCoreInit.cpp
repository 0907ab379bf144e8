#include "PGuarded.h"
#include "core/PCore.h"
#include "core/PInitChain.h"
#include "core/PInitWait.h"
#include "portinglayer/PFile.h"
#include "portinglayer/PLockGuard.h"
#include "portinglayer/PThread.h"
#include "portinglayer/PTime.h"

#include <algorithm>

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
    return finishInit(ioRecord, callInit(ioRecord));
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
int PCore::guardedInit(const PCorePlugin& iRecord) const
{
    try
    {
        return iRecord.fPlugin->init();
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

int PCore::guardedGetInstance(const PCorePlugin& iRecord, const PLiteral& iInterfaceId,
                              IBase*& oInstance) const
{
    try
    {
        return iRecord.fPlugin->getInstance(iInterfaceId, oInstance);
    }
    catch (...)
    {
        PLogger::error(getCoreLogger(), 0,
                       L"[getInstanceInternal][pg:%p] Plugin threw an exception in getInstance",
                       _pluginPointer(iRecord));
        throw;
    }
}

// cppcheck-suppress constParameter ; takes what PFile::getFileName has cut to a name
int PCore::initAutoStartPlugin(PString& iPluginName)
{
    PLogger::debug(getCoreLogger(), 0, kCoreLogFrame);
    PLogger::info(getCoreLogger(), 0, L"[initAutoStartPlugin] Init autostart iPluginName: %ls",
                  iPluginName.ptr());
    int result = eIxlaOk;
    // By index and with the size read anew: an init may unload a plugin.
    for (std::size_t i = 0; i < fCorePlugins.size(); ++i)
    {
        PCorePlugin& record = *fCorePlugins[i];
        if (!record.fLibrary)
        {
            continue;
        }
        PString name(record.fLibrary->getName());
        PFile::getFileName(name);
        if (name.cmp(iPluginName) != 0)
        {
            continue;
        }
        PLogger::debug(getCoreLogger(), 0, L"[initAutoStartPlugin] Call initPlugin() for %ls",
                       name.ptr());
        result = initPlugin(record);
        if (result != 0)
        {
            PLogger::error(getCoreLogger(), 0,
                           L"[initAutoStartPlugin] Failed to init autostart plugin err: %d",
                           result);
        }
    }
    PLogger::debug(getCoreLogger(), 0, kCoreLogFrame);
    return result;
}

int PCore::ixlaUnloadPlugin(IPlugin* iPlugin)
{
    PLogger::debug(getCoreLogger(), 0, kCoreLogFrame);
    PLogger::debug(getCoreLogger(), 0, L"[ixlaUnloadPlugin] iPlugin: %p",
                   static_cast<void*>(iPlugin));
    if (!fStarted)
    {
        PLogger::error(getCoreLogger(), 0,
                       L"[ixlaUnloadPlugin] Core is not started cannot unload plugin.");
        PLogger::debug(getCoreLogger(), 0, kCoreLogFrame);
        return eIxlaCoreNotStarted;
    }
    PLockGuard lock(fMutex);
    if (lock.result() != 0)
    {
        return eIxlaLockFailed;
    }
    const int result = nl_unloadPlugin(iPlugin);
    if (lock.unlock() != 0)
    {
        return eIxlaUnlockFailed;
    }
    PLogger::debug(getCoreLogger(), 0, L"[ixlaUnloadPlugin] return res: %d", result);
    PLogger::debug(getCoreLogger(), 0, kCoreLogFrame);
    return result;
}

int PCore::nl_unloadPlugin(IPlugin* iPlugin)
{
    const auto found = std::find_if(fCorePlugins.begin(), fCorePlugins.end(),
                                    [iPlugin](const PCorePlugin* record)
                                    { return record->fPlugin.get() == iPlugin; });
    if (found == fCorePlugins.end())
    {
        return eIxlaPluginNotFound;
    }
    PCorePlugin* const record = *found;
    PLogger::debug(getCoreLogger(), 0, L"[ixlaUnloadPlugin] Remove corePlugin: %p",
                   static_cast<void*>(record));
    const PString* const ids = record->fInterfaceIDs.get();
    for (unsigned int i = 0; ids && i < record->fInterfaceCount; ++i)
    {
        PLogger::debug(getCoreLogger(), 0, L"[ixlaUnloadPlugin] Remove interface ID: %ls",
                       ids[i].ptr());
        const auto entry = fInterfaces.find(ids[i]);
        if (entry == fInterfaces.end() || !entry->second.load())
        {
            PLogger::error(getCoreLogger(), 0,
                           L"[ixlaUnloadPlugin] Failed to find interface ID in map");
            continue;
        }
        entry->second.store(nullptr);
    }
    fCorePlugins.erase(found);
    // Destroyed with the mutex held, so that nobody finds the plugin half gone: a thread that asks
    // for another plugin's state waits until this one and its library are closed.
    delete record;
    return eIxlaOk;
}
