// SPDX-License-Identifier: MIT
// PExitNotice: the state that the notifier thread and the stopping core share.
#ifndef IXLAL_PEXITNOTICE_H
#define IXLAL_PEXITNOTICE_H

#include <atomic>

/// A listener may block the notifier thread beyond the time limit of the stop. The core then
/// abandons the thread and is destroyed. Thread and core share the notice, which later shows the
/// thread that it must not report. The core may be destroyed only while the thread is inside send,
/// or done.
class PExitNotice
{
public:
    /// For the notifier: it can send without the core from now on.
    void sending() noexcept;

    /// For the notifier: true when the core still exists; it then waits until done is called.
    bool beginReport() noexcept;

    /// For the notifier: it does not use the core any more.
    void done() noexcept;

    /// For the core: true when it may be destroyed, because the thread is done or now abandoned.
    bool abandon() noexcept;

    /// For the core: whether the thread was abandoned.
    bool isAbandoned() const noexcept;

    /// For the core: waits until abandon succeeds. The notifier must be able to get the core's
    /// mutex meanwhile.
    void abandonOrAwait() noexcept;

private:
    enum EState
    {
        eStarting,  ///< the notifier still uses the core, to copy its references
        eSending,   ///< listeners run
        eReporting, ///< the notifier reports to the core
        eDone,
        eAbandoned
    };

    void change(EState iState) noexcept;

    /// Whoever sees a state sees what the other side did before it, which needs release and acquire
    /// order. It changes so rarely that it has the stronger default.
    std::atomic<int> fState{eStarting};
};

#endif
