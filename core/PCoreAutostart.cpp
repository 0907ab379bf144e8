// SPDX-License-Identifier: MIT
#include "core/PCore.h"
#include "portinglayer/PFile.h"
#include "portinglayer/PLockGuard.h"

#include <algorithm>

void PCore::EndUse::operator()(PCorePlugin* iRecord) const noexcept
{
    core->endUse(*iRecord);
}

// cppcheck-suppress constParameter ; takes what PFile::getFileName has cut to a name
int PCore::initAutoStartPlugin(PString& iPluginName)
{
    PLogger::debug(getCoreLogger(), 0, kCoreLogFrame);
    PLogger::info(getCoreLogger(), 0, L"[initAutoStartPlugin] Init autostart iPluginName: %ls",
                  iPluginName.ptr());
    int result = eIxlaOk;
    UsedPlugin record(nullptr, EndUse{this});
    int used = useNext(iPluginName, record);
    while (used == 0 && record)
    {
        PLogger::debug(getCoreLogger(), 0, L"[initAutoStartPlugin] Call initPlugin() for %ls",
                       iPluginName.ptr());
        result = initPlugin(*record);
        logAutoStart(result);
        used = useNext(iPluginName, record);
    }
    if (used != 0)
    {
        result = used;
        logAutoStart(result);
    }
    PLogger::debug(getCoreLogger(), 0, kCoreLogFrame);
    return result;
}

void PCore::logAutoStart(int iResult) const
{
    if (iResult != 0)
    {
        PLogger::error(getCoreLogger(), 0,
                       L"[initAutoStartPlugin] Failed to init autostart plugin err: %d", iResult);
    }
}

int PCore::useNext(const PLiteral& iFileName, UsedPlugin& ioRecord)
{
    UsedPlugin next(nullptr, EndUse{this});
    PLockGuard lock(fMutex);
    if (lock.result() != 0)
    {
        return eIxlaLockFailed;
    }
    PCorePlugin* const found = nl_findByFile(iFileName, ioRecord ? ioRecord->fNumber : 0);
    if (found)
    {
        ++found->fUses;
        next.reset(found);
    }
    if (lock.unlock() != 0)
    {
        return eIxlaUnlockFailed;
    }
    ioRecord = std::move(next);
    return eIxlaOk;
}

PCorePlugin* PCore::nl_findByFile(const PLiteral& iFileName, unsigned int iAfter) const
{
    const auto matches = [&](const PCorePlugin* record)
    {
        if (record->fNumber <= iAfter || !record->fLibrary)
        {
            return false;
        }
        PString name(record->fLibrary->getName());
        PFile::getFileName(name);
        return name.cmp(iFileName) == 0;
    };
    const auto found = std::find_if(fCorePlugins.begin(), fCorePlugins.end(), matches);
    return found == fCorePlugins.end() ? nullptr : *found;
}

void PCore::endUse(PCorePlugin& ioRecord) noexcept
{
    // Declared before the lock, as in ixlaUnloadPlugin.
    PPtr<PLibrary> library;
    const PLockGuard lock(fMutex);
    if (lock.result() != 0)
    {
        // The record counts as used for good: it stays when it is unloaded.
        return;
    }
    --ioRecord.fUses;
    if (ioRecord.fUses == 0 && ioRecord.fUnloaded)
    {
        nl_destroy(ioRecord, library);
    }
}
