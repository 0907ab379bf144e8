#include "core/PCore.h"

#include "PGuarded.h"
#include "core/PCoreLog.h"

#include <new>

std::atomic<PCore*> PCore::fCore{nullptr};

PCore::PCore() noexcept : fStarted(false), fNotifyExit(false)
{
}

PCore* PCore::getCore() noexcept
{
    return fCore.load(std::memory_order_acquire);
}

PCore* PCore::takeCore() noexcept
{
    return fCore.exchange(nullptr);
}

int PCore::ixlaStart(const PString* iArgs, unsigned int iCount) noexcept
{
    if (getCore())
    {
        PLogger::error(getCoreLogger(), 0, L"[PCore] Try to start already started core.");
        return eIxlaCoreExists;
    }
    PCore* const core = new (std::nothrow) PCore;
    if (!core)
    {
        return eIxlaNoMemory;
    }
    fCore.store(core, std::memory_order_release);
    const int result = ixlaGuarded([&] { return core->startFlow(iArgs, iCount); });
    if (result != 0)
    {
        delete takeCore();
    }
    return result;
}

int PCore::ixlaStop() noexcept
{
    PCore* const core = getCore();
    if (!core)
    {
        return eIxlaCoreNotStarted;
    }
    const int result = ixlaGuarded([core] { return core->stopFlow(); });
    delete takeCore();
    return result;
}

int PCore::ixlaGetInstance(const PLiteral& iInterfaceId, IBase*& oInstance)
{
    if (!fStarted)
    {
        PLogger::error(getCoreLogger(), 0,
                       L"[ixlaGetInstance] Core is not started cannot get instance for interface "
                       L"ID: %ls",
                       iInterfaceId.ptr());
        return eIxlaCoreNotStarted;
    }
    return getInstanceInternal(iInterfaceId, oInstance);
}

bool PCore::ixlaIsInterfaceAvailable(const PLiteral& iInterfaceId)
{
    PLogger::debug(getCoreLogger(), 0, kCoreLogFrame);
    PLogger::debug(getCoreLogger(), 0, L"[ixlaIsInterfaceAvailable] Check for interface ID: %ls",
                   iInterfaceId.ptr());
    if (!fStarted)
    {
        PLogger::error(
            getCoreLogger(), 0,
            L"[ixlaIsInterfaceAvailable] Core is not started cannot check for interface ID");
        PLogger::debug(getCoreLogger(), 0, kCoreLogFrame);
        return false;
    }
    const bool found = findPlugin(iInterfaceId) != nullptr;
    PLogger::debug(getCoreLogger(), 0, L"[ixlaIsInterfaceAvailable] return res: %d", found ? 1 : 0);
    PLogger::debug(getCoreLogger(), 0, kCoreLogFrame);
    return found;
}

/// The record behind an interface ID, or null.
PCorePlugin* PCore::findPlugin(const PLiteral& iInterfaceId) const
{
    const auto found = fInterfaces.find(iInterfaceId);
    return found == fInterfaces.end() ? nullptr : found->second.load();
}
