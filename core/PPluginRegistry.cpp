// SPDX-License-Identifier: MIT
#include "core/PPluginRegistry.h"

#include "Ixla.h"
#include "core/PCoreLog.h"
#include "portinglayer/PLockGuard.h"
#include "portinglayer/PTextHash.h"

#include <algorithm>

int PPluginRegistry::checkInterfaces(const PString* iIDs, unsigned int iCount) const
{
    for (unsigned int i = 0; iIDs && i < iCount; ++i)
    {
        const PCorePlugin* const found = find(iIDs[i]);
        if (!found)
        {
            continue;
        }
        const PPtr<PLibrary>& owner = found->fLibrary;
        if (owner)
        {
            PLogger::error(fLog.logger(), 0,
                           L"[processPlugin] Interface already registered: %ls from plugin: %ls",
                           iIDs[i].ptr(), owner->getName().ptr());
        }
        else
        {
            PLogger::error(
                fLog.logger(), 0,
                L"[processPlugin] Interface already registered: %ls from internal plugin",
                iIDs[i].ptr());
        }
        return eIxlaInterfaceRegistered;
    }
    return eIxlaOk;
}

void PPluginRegistry::add(std::unique_ptr<PCorePlugin>&& iRecord)
{
    PCorePlugin& record = *iRecord;
    record.fNumber = fCorePlugins.empty() ? 1 : fCorePlugins.back()->fNumber + 1;
    PLogger::debug(fLog.logger(), 0, L"[processPlugin] Add corePlugin: %p",
                   static_cast<void*>(&record));
    fTable.reserve(record.fInterfaceIDs ? record.fInterfaceCount : 0);
    fCorePlugins.push_back(&record);
    try
    {
        addFile(record);
    }
    catch (...)
    {
        fCorePlugins.pop_back();
        throw;
    }
    addInterfaces(*iRecord.release());
}

void PPluginRegistry::addInterfaces(PCorePlugin& iRecord)
{
    const PString* const ids = iRecord.fInterfaceIDs.get();
    for (unsigned int i = 0; ids && i < iRecord.fInterfaceCount; ++i)
    {
        PLogger::debug(fLog.logger(), 0, L"[processPlugin] Add interface ID: %ls", ids[i].ptr());
        fTable.add(ids[i], iRecord);
    }
}

/// Adds the record with the highest number to the index of file names.
void PPluginRegistry::addFile(PCorePlugin& ioRecord)
{
    if (ioRecord.fLibrary)
    {
        ioRecord.fFileHash = PTextHash()(ioRecord.fileName());
        fByFile.insert(fByFile.begin() + findFile(ioRecord.fFileHash, ioRecord.fNumber), &ioRecord);
    }
}

/// The index of the first file with this hash and a number above iAfter, or with a higher hash.
std::ptrdiff_t PPluginRegistry::findFile(std::size_t iHash, unsigned int iAfter) const
{
    const auto isBefore = [=](const PCorePlugin* record)
    {
        return record->fFileHash != iHash ? record->fFileHash < iHash : record->fNumber <= iAfter;
    };
    return std::partition_point(fByFile.begin(), fByFile.end(), isBefore) - fByFile.begin();
}

int PPluginRegistry::ixlaUnloadPlugin(IPlugin* iPlugin)
{
    PLogger::debug(fLog.logger(), 0, kCoreLogFrame);
    PLogger::debug(fLog.logger(), 0, L"[ixlaUnloadPlugin] iPlugin: %p",
                   static_cast<void*>(iPlugin));
    if (!fStarted)
    {
        PLogger::error(fLog.logger(), 0,
                       L"[ixlaUnloadPlugin] Core is not started cannot unload plugin.");
        PLogger::debug(fLog.logger(), 0, kCoreLogFrame);
        return eIxlaCoreNotStarted;
    }
    // Declared before the lock, so that a library is never closed while the mutex is held. The
    // loader has a lock of its own, and a constructor or destructor that runs inside that one may
    // call the core from another thread.
    PPtr<PLibrary> library;
    PLockGuard lock(fLock.fMutex);
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
    PLogger::debug(fLog.logger(), 0, L"[ixlaUnloadPlugin] return res: %d", result);
    PLogger::debug(fLog.logger(), 0, kCoreLogFrame);
    return result;
}

int PPluginRegistry::nl_unloadPlugin(IPlugin* iPlugin, PPtr<PLibrary>& oLibrary)
{
    const auto found = std::find_if(fCorePlugins.begin(), fCorePlugins.end(),
                                    [iPlugin](const PCorePlugin* record)
                                    { return record->fPlugin.get() == iPlugin; });
    if (found == fCorePlugins.end())
    {
        return eIxlaPluginNotFound;
    }
    PCorePlugin* const record = *found;
    PLogger::debug(fLog.logger(), 0, L"[ixlaUnloadPlugin] Remove corePlugin: %p",
                   static_cast<void*>(record));
    const PString* const ids = record->fInterfaceIDs.get();
    for (unsigned int i = 0; ids && i < record->fInterfaceCount; ++i)
    {
        PLogger::debug(fLog.logger(), 0, L"[ixlaUnloadPlugin] Remove interface ID: %ls",
                       ids[i].ptr());
        if (!fTable.withdraw(ids[i], *record))
        {
            PLogger::error(fLog.logger(), 0,
                           L"[ixlaUnloadPlugin] Failed to find interface ID in map");
        }
    }
    fCorePlugins.erase(found);
    const auto file = std::find(fByFile.begin(), fByFile.end(), record);
    if (file != fByFile.end())
    {
        fByFile.erase(file);
    }
    record->fUnloaded = true;
    record->fReady.store(false, std::memory_order_relaxed);
    if (record->fUses == 0)
    {
        nl_destroy(*record, oLibrary);
    }
    return eIxlaOk;
}

/// Destroys the plugin of a record that was removed from the list. The caller closes its library,
/// after it has released the mutex. The record stays, because lookups may read the texts of its
/// IDs.
void PPluginRegistry::nl_destroy(PCorePlugin& ioRecord, PPtr<PLibrary>& oLibrary)
{
    oLibrary = ioRecord.fLibrary;
    // With the mutex held, so that no thread finds the plugin half destroyed: an initialisation, a
    // use of the autostart list and another unload wait until this plugin is destroyed.
    ioRecord.releasePlugin();
    ioRecord.fLibrary.clear();
    ioRecord.fNextUnloaded = fUnloaded;
    fUnloaded = &ioRecord;
}

int PPluginRegistry::useNext(const PLiteral& iFileName, unsigned int iAfter, PCorePlugin*& oRecord)
{
    PLockGuard lock(fLock.fMutex);
    if (lock.result() != 0)
    {
        return eIxlaLockFailed;
    }
    oRecord = nl_findByFile(iFileName, iAfter);
    if (oRecord)
    {
        ++oRecord->fUses;
    }
    return lock.unlock() == 0 ? eIxlaOk : eIxlaUnlockFailed;
}

PCorePlugin* PPluginRegistry::nl_findByFile(const PLiteral& iFileName, unsigned int iAfter) const
{
    const std::size_t hash = PTextHash()(iFileName);
    auto found = fByFile.begin() + findFile(hash, iAfter);
    while (found != fByFile.end() && (*found)->fFileHash == hash)
    {
        if (iFileName == (*found)->fileName())
        {
            return *found;
        }
        ++found;
    }
    return nullptr;
}

void PPluginRegistry::endUse(PCorePlugin& ioRecord) noexcept
{
    // Declared before the lock, as in ixlaUnloadPlugin.
    PPtr<PLibrary> library;
    const PLockGuard lock(fLock.fMutex);
    if (lock.result() != 0)
    {
        // The use of the record is never ended, so an unload does not destroy it.
        return;
    }
    --ioRecord.fUses;
    if (ioRecord.fUses == 0 && ioRecord.fUnloaded)
    {
        nl_destroy(ioRecord, library);
    }
}

void PPluginRegistry::release(bool iKeepLibraries)
{
    std::vector<PCorePlugin*> records;
    records.swap(fCorePlugins);
    fByFile.clear();
    fTable.clear();
    while (fUnloaded)
    {
        const std::unique_ptr<PCorePlugin> unloaded(fUnloaded);
        fUnloaded = unloaded->fNextUnloaded;
    }
    // Every plugin is destroyed before the first library is closed: a plugin may use code of
    // another one.
    for (PCorePlugin* record : records)
    {
        record->releasePlugin();
        if (iKeepLibraries && record->fLibrary)
        {
            record->fLibrary->keepLoaded();
        }
    }
    for (PCorePlugin* record : records)
    {
        delete record;
    }
}
