// SPDX-License-Identifier: MIT
#include "core/PInstanceLookup.h"

#include "Ixla.h"
#include "PGuarded.h"
#include "core/PCoreLog.h"
#include "core/PPluginInit.h"

#include <exception>

namespace
{
void* _pluginPointer(const PCorePlugin& iRecord)
{
    return iRecord.fPlugin.get();
}
} // namespace

int PInstanceLookup::lookUp(PCorePlugin* iFound, const PLiteral& iInterfaceId, IBase*& oInstance)
{
    PLogger* const logger = fLog.logger();
    PLogger::debug(logger, 2, L"%ls", kCoreLogFrame);
    PLogger::debug(logger, 2, L"[getInstanceInternal] Get instance for interface ID: %ls",
                   iInterfaceId.ptr());
    if (!iFound)
    {
        PLogger::error(logger, 0, L"[getInstanceInternal] Unknown interface ID: %ls",
                       iInterfaceId.ptr());
        return eIxlaUnknownInterface;
    }
    PCorePlugin& record = *iFound;
    if (record.fLibrary && logger && logger->isLogged(1))
    {
        PLogger::info(logger, 1, L"[getInstanceInternal] Call initPlugin() for %ls",
                      record.fLibrary->getName().ptr());
    }
    int result = fInit.initPlugin(record);
    if (result != 0)
    {
        PLogger::error(logger, 0, L"[getInstanceInternal][pg:%p] Failed to init plugin err: %d",
                       _pluginPointer(record), result);
        return eIxlaInitFailed;
    }
    PLogger::debug(logger, 2, L"[getInstanceInternal][pg:%p] Get instance from plugin",
                   _pluginPointer(record));
    result = askPlugin(record, iInterfaceId, oInstance);
    if (result == 0)
    {
        PLogger::debug(logger, 2, L"[getInstanceInternal][pg:%p] Return instance %p",
                       _pluginPointer(record), static_cast<void*>(oInstance));
    }
    PLogger::debug(logger, 2, L"%ls", kCoreLogFrame);
    return result;
}

bool PInstanceLookup::ixlaIsInterfaceAvailable(const PLiteral& iInterfaceId) const
{
    PLogger* const logger = fLog.logger();
    PLogger::debug(logger, 0, kCoreLogFrame);
    PLogger::debug(logger, 0, L"[ixlaIsInterfaceAvailable] Check for interface ID: %ls",
                   iInterfaceId.ptr());
    if (!fRegistry.isStarted())
    {
        PLogger::error(
            logger, 0,
            L"[ixlaIsInterfaceAvailable] Core is not started cannot check for interface ID");
        PLogger::debug(logger, 0, kCoreLogFrame);
        return false;
    }
    const bool found = fRegistry.find(iInterfaceId) != nullptr;
    PLogger::debug(logger, 0, L"[ixlaIsInterfaceAvailable] return res: %d", found ? 1 : 0);
    PLogger::debug(logger, 0, kCoreLogFrame);
    return found;
}

int PInstanceLookup::refuse(const PLiteral& iInterfaceId) const
{
    PLogger::error(fLog.logger(), 0,
                   L"[ixlaGetInstance] Core is not started cannot get instance for interface "
                   L"ID: %ls",
                   iInterfaceId.ptr());
    return eIxlaCoreNotStarted;
}

void PInstanceLookup::logThreadEnd(const PCorePlugin& iRecord) const
{
    PLogger::error(fLog.logger(), 0,
                   L"[getInstanceInternal][pg:%p] Plugin ended its thread in getInstance",
                   _pluginPointer(iRecord));
}

/// Called in a handler: logs the exception that it handles and returns the code for it.
int PInstanceLookup::convertException(const PCorePlugin& iRecord) const
{
    PLogger::error(fLog.logger(), 0,
                   L"[getInstanceInternal][pg:%p] Plugin threw an exception in getInstance",
                   _pluginPointer(iRecord));
    return ixlaGuarded([]() -> int { std::rethrow_exception(std::current_exception()); },
                       eIxlaInitFailed);
}

int PInstanceLookup::logFailure(const PCorePlugin& iRecord, int iResult) const
{
    PLogger::error(fLog.logger(), 0, L"[getInstanceInternal][pg:%p] Failed to get instance err: %d",
                   _pluginPointer(iRecord), iResult);
    return iResult;
}
