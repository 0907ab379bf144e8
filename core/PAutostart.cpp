// SPDX-License-Identifier: MIT
#include "core/PAutostart.h"

#include "Ixla.h"
#include "core/PCoreLog.h"
#include "core/PPluginInit.h"

int PAutostart::initAutoStartPlugin(const PLiteral& iPluginName)
{
    PLogger::debug(fLog.logger(), 0, kCoreLogFrame);
    PLogger::info(fLog.logger(), 0, L"[initAutoStartPlugin] Init autostart iPluginName: %ls",
                  iPluginName.ptr());
    int result = eIxlaOk;
    UsedPlugin record(nullptr, EndUse{&fRegistry});
    int used = useNext(iPluginName, record);
    while (used == 0 && record)
    {
        PLogger::debug(fLog.logger(), 0, L"[initAutoStartPlugin] Call initPlugin() for %ls",
                       iPluginName.ptr());
        result = fInit.initPlugin(*record);
        logResult(result);
        used = useNext(iPluginName, record);
    }
    if (used != 0)
    {
        result = used;
        logResult(result);
    }
    PLogger::debug(fLog.logger(), 0, kCoreLogFrame);
    return result;
}

/// Replaces the record by the next one with the file name; null after the last one.
int PAutostart::useNext(const PLiteral& iFileName, UsedPlugin& ioRecord)
{
    PCorePlugin* found = nullptr;
    const int result = fRegistry.useNext(iFileName, ioRecord ? ioRecord->fNumber : 0, found);
    UsedPlugin next(found, EndUse{&fRegistry});
    if (result == 0)
    {
        ioRecord.swap(next);
    }
    return result;
}

void PAutostart::logResult(int iResult) const
{
    if (iResult != 0)
    {
        PLogger::error(fLog.logger(), 0,
                       L"[initAutoStartPlugin] Failed to init autostart plugin err: %d", iResult);
    }
}
