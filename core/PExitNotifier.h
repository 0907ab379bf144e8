// SPDX-License-Identifier: MIT
// PExitNotifier: sends the exit event on a separate thread, and waits for it.
#ifndef IXLAL_PEXITNOTIFIER_H
#define IXLAL_PEXITNOTIFIER_H

#include "core/PCoreLock.h"
#include "core/PExitNotice.h"

#include <memory>

class PCoreLog;
class PCoreServices;
class PThread;

/// A listener may never return, so the stop sends the event on another thread and abandons that
/// after a time limit. The abandoned thread uses only the shared notice and its own reference to
/// the dispatcher, and not this object.
class PExitNotifier
{
public:
    PExitNotifier(const PCoreLog& iLog, PCoreLock& iLock, const PCoreServices& iServices) noexcept
        : fLog(iLog), fLock(iLock), fServices(iServices), fNotifyExit(false)
    {
    }

    PExitNotifier(const PExitNotifier&) = delete;
    PExitNotifier& operator=(const PExitNotifier&) = delete;

    /// Starts the thread and waits for it, for iTimeout seconds and then until the next wake-up, 5
    /// seconds later at most. Without a thread the event is not sent, which is logged. Returns 0,
    /// -1013, -1014, or -1015 with the mutex held. The stop calls it once.
    int announceExit(int iTimeout);

    /// Sends the event and reports to announceExit. Returns 0, -1013, -1014, or -1015 with the
    /// mutex held. Passes on the end of a thread that a listener ends.
    int notifyCoreExit();

    /// Whether the thread was abandoned: it may still run code of a plugin.
    bool isAbandoned() const noexcept
    {
        return fExitNotice && fExitNotice->isAbandoned();
    }

    /// Waits until the thread does not use this object any more. Unlocks what an early return of
    /// announceExit has left locked, which the analysis of locks cannot know.
    void partFromNotifier() noexcept IXLA_NO_THREAD_SAFETY_ANALYSIS;

private:
    static void* thNotifyCoreExit(void* iNotifier);

    int startNotifier(PThread& ioNotifier);
    int nl_awaitNotifier(int iTimeout) IXLA_REQUIRES(fLock.fMutex);
    bool nl_partFromNotifier() IXLA_REQUIRES(fLock.fMutex);
    void join(PThread& ioNotifier) const;
    int endNotification(PExitNotice* iNotice, bool iEndedByListener);
    int reportExit();

    const PCoreLog& fLog;
    PCoreLock& fLock;
    const PCoreServices& fServices;
    bool fNotifyExit IXLA_GUARDED_BY(fLock.fMutex); ///< true while the stop waits for the thread
    std::shared_ptr<PExitNotice> fExitNotice;       ///< null until the stop
};

#endif
