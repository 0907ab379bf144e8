// SPDX-License-Identifier: MIT
#include "core/PCore.h"
#include "portinglayer/PLockGuard.h"

#include <algorithm>

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
    // Declared before the lock, so that a library is never closed while it is held: the loader has
    // a lock of its own, and a constructor or destructor that runs inside that one may call the
    // core from another thread.
    PPtr<PLibrary> library;
    PLockGuard lock(fMutex);
    if (lock.result() != 0)
    {
        return eIxlaLockFailed;
    }
    const int result = nl_unloadPlugin(iPlugin, library);
    if (lock.unlock() != 0)
    {
        return eIxlaUnlockFailed;
    }
    library.clear();
    PLogger::debug(getCoreLogger(), 0, L"[ixlaUnloadPlugin] return res: %d", result);
    PLogger::debug(getCoreLogger(), 0, kCoreLogFrame);
    return result;
}

int PCore::nl_unloadPlugin(IPlugin* iPlugin, PPtr<PLibrary>& oLibrary)
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
    record->fUnloaded = true;
    if (record->fUses == 0)
    {
        nl_destroy(*record, oLibrary);
    }
    return eIxlaOk;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): it is this core's mutex
void PCore::nl_destroy(PCorePlugin& iRecord, PPtr<PLibrary>& oLibrary)
{
    const std::unique_ptr<PCorePlugin> record(&iRecord);
    oLibrary = record->fLibrary;
    // With the mutex held, so that nobody finds the plugin half gone: a thread that asks for
    // another plugin's state waits until this one is destroyed.
    record->releasePlugin();
}
