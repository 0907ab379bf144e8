// SPDX-License-Identifier: MIT
#include "core/PExitNotifier.h"

#include "Ixla.h"
#include "PGuarded.h"
#include "core/PCoreLog.h"
#include "core/PCoreServices.h"
#include "portinglayer/PLockGuard.h"
#include "portinglayer/PThread.h"
#include "portinglayer/PTime.h"

#include <cstdint>

namespace
{
constexpr unsigned int kWaitMilliseconds = 5000;

/// Marks the notice as done when the notifier thread ends, on every path.
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

int PExitNotifier::announceExit(int iTimeout)
{
    PThread notifier;
    PLockGuard lock(fLock.fMutex);
    if (lock.result() != 0)
    {
        return eIxlaLockFailed;
    }
    fNotifyExit = true;
    int result = startNotifier(notifier);
    if (result != 0)
    {
        PLogger::error(fLog.logger(), 0,
                       L"[stopFlow] Failed to create notify core exit thread err: %d", result);
        return lock.unlock() == 0 ? eIxlaOk : eIxlaUnlockFailed;
    }
    result = nl_awaitNotifier(iTimeout);
    if (result != 0)
    {
        // As after a failed wait for an init: the mutex stays as it is.
        lock.keepLocked();
        return result;
    }
    PLogger::debug(fLog.logger(), 0, L"[stopFlow] Waiting finished fNotifyExit: %d",
                   fNotifyExit ? 1 : 0);
    if (!fNotifyExit)
    {
        join(notifier);
    }
    return lock.unlock() == 0 ? eIxlaOk : eIxlaUnlockFailed;
}

int PExitNotifier::startNotifier(PThread& ioNotifier)
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
    const int result = ioNotifier.pcreate(&PExitNotifier::thNotifyCoreExit, this);
    if (result != 0)
    {
        fExitNotice.reset();
    }
    return result;
}

int PExitNotifier::nl_awaitNotifier(int iTimeout)
{
    PLogger::debug(fLog.logger(), 0, L"[stopFlow] Waiting notify thread to finish timeout: %ds...",
                   iTimeout);
    const long long start = PTime::getTickCount();
    while (fNotifyExit)
    {
        const int result = fLock.fCondVar.wait(&fLock.fMutex, kWaitMilliseconds);
        if (result != 0 && result != PConditionalVar::eTimeout)
        {
            return eIxlaCondVarFailed;
        }
        const long long elapsed = PTime::getTickCountDiff(start, PTime::getTickCount());
        if (elapsed >= static_cast<long long>(iTimeout) * 1000 && nl_partFromNotifier())
        {
            PLogger::debug(fLog.logger(), 0, L"[stopFlow] Waiting finished with timeout!");
            break;
        }
    }
    return eIxlaOk;
}

bool PExitNotifier::nl_partFromNotifier()
{
    return !fNotifyExit || fExitNotice->abandon();
}

void PExitNotifier::join(PThread& ioNotifier) const
{
    PLogger::debug(fLog.logger(), 0, L"[stopFlow] Join notify thread to exit...");
    void* exitCode = nullptr;
    const int result = ioNotifier.pjoin(exitCode);
    // NOLINTNEXTLINE(performance-no-int-to-ptr): shown with %p, never followed
    void* const shown = reinterpret_cast<void*>(static_cast<std::intptr_t>(result));
    PLogger::debug(fLog.logger(), 0, L"[stopFlow] Join return res: %p exitCode: %d", shown,
                   static_cast<int>(reinterpret_cast<std::intptr_t>(exitCode)));
}

void* PExitNotifier::thNotifyCoreExit(void* iNotifier)
{
    PExitNotifier* const notifier = static_cast<PExitNotifier*>(iNotifier);
    const NotifierEnd end(notifier->fExitNotice);
    const int result = notifier->notifyCoreExit();
    if (!end.isAbandoned())
    {
        PLogger::debug(notifier->fLog.logger(), 0, L"[thNotifyCoreExit] notifyCoreExit res: %d",
                       result);
    }
    return nullptr;
}

IXLA_PASSES_THREAD_END int PExitNotifier::notifyCoreExit()
{
    PLogger::debug(fLog.logger(), 0, L"[notifyCoreExit] Sending event %ls...", kIxlaCoreExitTopic);
    const PBaseptr<IEventDispatcher> dispatcher(fServices.fEventDispatcher);
    const std::shared_ptr<PExitNotice> notice = fExitNotice;
    if (notice)
    {
        notice->sending();
    }
    try
    {
        if (dispatcher)
        {
            // The event may have no listener.
            dispatcher->send(kIxlaCoreExitTopic, nullptr, 0);
        }
    }
    catch (PThreadEnd&)
    {
        // Notifies the stop, which continues as after any delivery.
        (void)endNotification(notice.get(), true);
        throw;
    }
    return endNotification(notice.get(), false);
}

int PExitNotifier::endNotification(PExitNotice* iNotice, bool iEndedByListener)
{
    if (iNotice && !iNotice->beginReport())
    {
        // The core has abandoned this thread: it and this object may be destroyed.
        return eIxlaOk;
    }
    if (iEndedByListener)
    {
        PLogger::error(fLog.logger(), 0, L"[notifyCoreExit] Listener ended the notify thread");
    }
    return reportExit();
}

int PExitNotifier::reportExit()
{
    PLockGuard lock(fLock.fMutex);
    if (lock.result() != 0)
    {
        return eIxlaLockFailed;
    }
    fNotifyExit = false;
    if (fLock.fCondVar.notifyAll() != 0)
    {
        lock.keepLocked();
        return eIxlaCondVarFailed;
    }
    if (lock.unlock() != 0)
    {
        return eIxlaUnlockFailed;
    }
    PLogger::debug(fLog.logger(), 0, L"[notifyCoreExit] Done.");
    return eIxlaOk;
}

void PExitNotifier::partFromNotifier() noexcept
{
    if (fExitNotice && !fExitNotice->abandon())
    {
        // The stop returned early with the mutex held, and the notifier needs it to report. When
        // it is not held, this changes nothing.
        fLock.fMutex.unlock();
        fExitNotice->abandonOrAwait();
    }
}
