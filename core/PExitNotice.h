// SPDX-License-Identifier: MIT
// PExitNotice: how the thread that announces the exit and the stopping core part from each other.
#ifndef IXLAL_PEXITNOTICE_H
#define IXLAL_PEXITNOTICE_H

#include <atomic>

/// A listener may keep the notifier thread beyond the time limit of the stop. The core then
/// abandons the thread and goes; the notice, which both share, tells the thread on its return that
/// there is no core to report to. The core may go only while the thread is inside send, or done.
class PExitNotice
{
public:
    /// For the notifier: it holds all that it needs to send without the core.
    void sending() noexcept;

    /// For the notifier: true when the core is still there, and waits until done is called.
    bool beginReport() noexcept;

    /// For the notifier: it touches the core no more.
    void done() noexcept;

    /// For the core: true when it may go, because the thread is done or now abandoned.
    bool abandon() noexcept;

    /// For the core: whether the thread was abandoned.
    bool isAbandoned() const noexcept;

    /// For the core: waits until abandon succeeds. The notifier must be able to get the core's
    /// mutex meanwhile.
    void abandonOrAwait() noexcept;

private:
    enum EState
    {
        eStarting,  ///< the notifier still needs the core to copy what it sends with
        eSending,   ///< listeners run
        eReporting, ///< the notifier tells the core
        eDone,
        eAbandoned
    };

    void change(EState iState) noexcept;

    std::atomic<int> fState{eStarting};
};

#endif
