// SPDX-License-Identifier: MIT
#include "PGuarded.h"
#include "config/PConfigManager.h"
#include "core/PCallGate.h"
#include "core/PCore.h"
#include "core/PExitNotice.h"
#include "portinglayer/PLockGuard.h"
#include "portinglayer/PThread.h"
#include "portinglayer/PTime.h"

#include <algorithm>
#include <cstdint>

namespace
{
constexpr wchar_t kTimeoutKey[] = L"core.notify.exit.timeout";
constexpr int kDefaultTimeoutSeconds = 300;
constexpr unsigned int kWaitMilliseconds = 5000;
constexpr unsigned int kShortestGraceMilliseconds = 2500;
constexpr long long kLongestLeaveMilliseconds = 5000;

/// Lets the core go when the notifier thread ends, wherever that is.
class NotifierEnd
{
public:
    explicit NotifierEnd(const std::shared_ptr<PExitNotice>& iNotice) noexcept : fNotice(iNotice)
    {
    }

    ~NotifierEnd()
    {
        if (!isAbandoned())
        {
            fNotice->done();
        }
    }

    NotifierEnd(const NotifierEnd&) = delete;
    NotifierEnd& operator=(const NotifierEnd&) = delete;

    bool isAbandoned() const noexcept
    {
        return fNotice->isAbandoned();
    }

private:
    const std::shared_ptr<PExitNotice> fNotice;
};
} // namespace

int PCore::stopFlow()
{
    PLogger::debug(fParts.fLog.logger(), 0, kCoreLogFrame);
    PLogger::debug(fParts.fLog.logger(), 0, L"[stopFlow] Stopping core...");
    writeMemory();
    const int timeout = readExitTimeout();
    const int result = announceExit(timeout);
    if (result != 0)
    {
        return result;
    }
    graceSleep(timeout);
    if (letCallsLeave())
    {
        cleanup();
    }
    writeMemory();
    PLogger::debug(fParts.fLog.logger(), 0, L"[stopFlow] Done.");
    PLogger::debug(fParts.fLog.logger(), 0, kCoreLogFrame);
    return eIxlaOk;
}

void PCore::writeMemory() const
{
    fParts.fLog.writeFreeMemory(L"[stopFlow] Free mem: %llu");
    fParts.fLog.writeProcessMemory(L"[stopFlow] Proc mem: %llu");
}

int PCore::readExitTimeout()
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

int PCore::announceExit(int iTimeout)
{
    PThread notifier;
    PLockGuard lock(fParts.fLock.fMutex);
    if (lock.result() != 0)
    {
        return eIxlaLockFailed;
    }
    fNotifyExit = true;
    int result = startNotifier(notifier);
    if (result != 0)
    {
        PLogger::error(fParts.fLog.logger(), 0,
                       L"[stopFlow] Failed to create notify core exit thread err: %d", result);
        return lock.unlock() == 0 ? eIxlaOk : eIxlaUnlockFailed;
    }
    result = nl_awaitNotifier(iTimeout);
    if (result != 0)
    {
        // As after a failed wait for an init: the mutex is left alone.
        lock.keepLocked();
        return result;
    }
    PLogger::debug(fParts.fLog.logger(), 0, L"[stopFlow] Waiting finished fNotifyExit: %d",
                   fNotifyExit ? 1 : 0);
    if (!fNotifyExit)
    {
        join(notifier);
    }
    return lock.unlock() == 0 ? eIxlaOk : eIxlaUnlockFailed;
}

int PCore::startNotifier(PThread& ioNotifier)
{
    const int made = ixlaGuarded(
        [&]
        {
            fExitNotice = std::make_shared<PExitNotice>();
            return eIxlaOk;
        });
    if (made != 0)
    {
        return made;
    }
    const int result = ioNotifier.pcreate(&PCore::thNotifyCoreExit, this);
    if (result != 0)
    {
        fExitNotice.reset();
    }
    return result;
}

int PCore::nl_awaitNotifier(int iTimeout)
{
    PLogger::debug(fParts.fLog.logger(), 0,
                   L"[stopFlow] Waiting notify thread to finish timeout: %ds...", iTimeout);
    const long long start = PTime::getTickCount();
    while (fNotifyExit)
    {
        const int result = fParts.fLock.fCondVar.wait(&fParts.fLock.fMutex, kWaitMilliseconds);
        if (result != 0 && result != PConditionalVar::eTimeout)
        {
            return eIxlaCondVarFailed;
        }
        const long long elapsed = PTime::getTickCountDiff(start, PTime::getTickCount());
        if (elapsed >= static_cast<long long>(iTimeout) * 1000 && nl_partFromNotifier())
        {
            PLogger::debug(fParts.fLog.logger(), 0, L"[stopFlow] Waiting finished with timeout!");
            break;
        }
    }
    return eIxlaOk;
}

void PCore::join(PThread& ioNotifier) const
{
    PLogger::debug(fParts.fLog.logger(), 0, L"[stopFlow] Join notify thread to exit...");
    void* exitCode = nullptr;
    const int result = ioNotifier.pjoin(exitCode);
    // NOLINTNEXTLINE(performance-no-int-to-ptr): shown with %p, never followed
    void* const shown = reinterpret_cast<void*>(static_cast<std::intptr_t>(result));
    PLogger::debug(fParts.fLog.logger(), 0, L"[stopFlow] Join return res: %p exitCode: %d", shown,
                   static_cast<int>(reinterpret_cast<std::intptr_t>(exitCode)));
}

bool PCore::nl_partFromNotifier()
{
    return !fNotifyExit || fExitNotice->abandon();
}

void PCore::graceSleep(int iTimeout)
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

void* PCore::thNotifyCoreExit(void* iCore)
{
    PCore* const core = static_cast<PCore*>(iCore);
    const NotifierEnd end(core->fExitNotice);
    const int result = core->notifyCoreExit();
    if (!end.isAbandoned())
    {
        PLogger::debug(core->fParts.fLog.logger(), 0, L"[thNotifyCoreExit] notifyCoreExit res: %d",
                       result);
    }
    return nullptr;
}

IXLA_PASSES_THREAD_END int PCore::notifyCoreExit()
{
    PLogger::debug(fParts.fLog.logger(), 0, L"[notifyCoreExit] Sending event %ls...",
                   kIxlaCoreExitTopic);
    const PBaseptr<IEventDispatcher> dispatcher(fParts.fServices.fEventDispatcher);
    const std::shared_ptr<PExitNotice> notice = fExitNotice;
    if (notice)
    {
        notice->sending();
    }
    try
    {
        if (dispatcher)
        {
            // Nobody need listen.
            dispatcher->send(kIxlaCoreExitTopic, nullptr, 0);
        }
    }
    catch (PThreadEnd&)
    {
        // The stop learns of the end, and goes on as after any delivery.
        (void)endNotification(notice.get(), true);
        throw;
    }
    return endNotification(notice.get(), false);
}

int PCore::endNotification(PExitNotice* iNotice, bool iEndedByListener)
{
    if (iNotice && !iNotice->beginReport())
    {
        // The core did not wait so long: it may be gone, and this object with it.
        return eIxlaOk;
    }
    if (iEndedByListener)
    {
        PLogger::error(fParts.fLog.logger(), 0,
                       L"[notifyCoreExit] Listener ended the notify thread");
    }
    return reportExit();
}

int PCore::reportExit()
{
    PLockGuard lock(fParts.fLock.fMutex);
    if (lock.result() != 0)
    {
        return eIxlaLockFailed;
    }
    fNotifyExit = false;
    if (fParts.fLock.fCondVar.notifyAll() != 0)
    {
        lock.keepLocked();
        return eIxlaCondVarFailed;
    }
    if (lock.unlock() != 0)
    {
        return eIxlaUnlockFailed;
    }
    PLogger::debug(fParts.fLog.logger(), 0, L"[notifyCoreExit] Done.");
    return eIxlaOk;
}

void PCore::cleanup()
{
    fParts.fServices.clear();
    fParts.fRegistry.release(fExitNotice && fExitNotice->isAbandoned());
}

void PCore::partFromNotifier() noexcept
{
    if (fExitNotice && !fExitNotice->abandon())
    {
        // The stop returned early with the mutex held, and the notifier needs it to report. If it
        // is not held, this changes nothing.
        fParts.fLock.fMutex.unlock();
        fExitNotice->abandonOrAwait();
    }
}

bool PCore::letCallsLeave() noexcept
{
    if (fKept)
    {
        return false;
    }
    PCallGate* const gate = getGate();
    if (!gate)
    {
        // A child that was forked from inside the start or the stop: the core is its parent's.
        fKept = true;
        return false;
    }
    const long long start = PTime::getTickCount();
    unsigned int calls = gate->close(kLongestLeaveMilliseconds);
    if (calls == 0 && !closeConfigManager(start))
    {
        calls = 1;
    }
    if (calls != 0)
    {
        fKept = true;
        PLogger::error(fParts.fLog.logger(), 0,
                       L"[PCore] Calls that do not leave the core: %u, keep plugins and libraries",
                       calls);
    }
    return !fKept;
}

/// False when a call of another thread uses the manager beyond the time that calls have since
/// iStart: it may be reading a file that doesn't answer.
bool PCore::closeConfigManager(long long iStart) noexcept
{
    const long long waited = PTime::getTickCountDiff(iStart, PTime::getTickCount());
    const long long left = std::max(kLongestLeaveMilliseconds - waited, 0LL);
    PConfigManager* const manager =
        static_cast<PConfigManager*>(fParts.fServices.fConfigManager.get());
    if (!manager || manager->tryCleanup(static_cast<unsigned int>(left)) == 0)
    {
        return true;
    }
    PLogger::error(fParts.fLog.logger(), 0,
                   L"[PCore] Configuration manager is busy on another thread");
    return false;
}

void PCore::keep() noexcept
{
    // The calls inside leave through their own gate; the next core gets a new one.
    fKeptGate = fGate.exchange(nullptr);
    fNextKept = fKeptCores;
    fKeptCores = this;
}

PCore::~PCore()
{
    cleanup();
    fParts.fLock.close(fParts.fLog.logger());
}
