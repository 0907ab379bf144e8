// SPDX-License-Identifier: MIT
#include "core/PStopFlow.h"

#include "Ixla.h"
#include "core/PCoreLifetime.h"
#include "core/PCoreParts.h"
#include "portinglayer/PThread.h"

#include <algorithm>

namespace
{
constexpr wchar_t kTimeoutKey[] = L"core.notify.exit.timeout";
constexpr int kDefaultTimeoutSeconds = 300;
constexpr unsigned int kShortestGraceMilliseconds = 2500;
} // namespace

int PStopFlow::stopFlow()
{
    PLogger::debug(fParts.fLog.logger(), 0, kCoreLogFrame);
    PLogger::debug(fParts.fLog.logger(), 0, L"[stopFlow] Stopping core...");
    writeMemory();
    const int timeout = readExitTimeout();
    const int result = fParts.fNotifier.announceExit(timeout);
    if (result != 0)
    {
        return result;
    }
    graceSleep(timeout);
    if (fParts.fDrain.letCallsLeave(PCoreLifetime::getGate()))
    {
        fParts.cleanup();
    }
    writeMemory();
    PLogger::debug(fParts.fLog.logger(), 0, L"[stopFlow] Done.");
    PLogger::debug(fParts.fLog.logger(), 0, kCoreLogFrame);
    return eIxlaOk;
}

void PStopFlow::writeMemory() const
{
    fParts.fLog.writeFreeMemory(L"[stopFlow] Free mem: %llu");
    fParts.fLog.writeProcessMemory(L"[stopFlow] Proc mem: %llu");
}

int PStopFlow::readExitTimeout() const
{
    int timeout = kDefaultTimeoutSeconds;
    const int result = fParts.fServices.fConfig
                           ? fParts.fServices.fConfig->getInt32(kTimeoutKey, timeout)
                           : eIxlaNotFound;
    if (result != 0)
    {
        PLogger::error(fParts.fLog.logger(), 0,
                       L"[stopFlow] Failed to get %ls from config use default: %d err: %d",
                       kTimeoutKey, kDefaultTimeoutSeconds, result);
        return kDefaultTimeoutSeconds;
    }
    PLogger::debug(fParts.fLog.logger(), 0, L"[stopFlow] Get %ls from config value: %d",
                   kTimeoutKey, timeout);
    return timeout;
}

void PStopFlow::graceSleep(int iTimeout) const
{
    const unsigned int wanted = static_cast<unsigned int>(iTimeout) * 10u;
    const unsigned int sleep = std::max(wanted, kShortestGraceMilliseconds);
    const bool freeLibsOnDestroy = fParts.fServices.readFreeLibraries();
    PLogger::debug(fParts.fLog.logger(), 0, L"[stopFlow] freeLibsOnDestroy : %d ms",
                   freeLibsOnDestroy ? 1 : 0);
    if (!freeLibsOnDestroy)
    {
        PLogger::debug(fParts.fLog.logger(), 0,
                       L"[stopFlow] Sleep last chance for other threads to exit: %d ms (SKIPPED!)",
                       sleep);
        return;
    }
    PLogger::debug(fParts.fLog.logger(), 0,
                   L"[stopFlow] Sleep last chance for other threads to exit: %d ms", sleep);
    PThread::psleep(sleep);
}
