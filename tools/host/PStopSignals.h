// SPDX-License-Identifier: MIT
// PStopSignals: handles the signals that stop the host, on a dedicated thread.
#ifndef IXLAL_TOOLS_PSTOPSIGNALS_H
#define IXLAL_TOOLS_PSTOPSIGNALS_H

#include "shared/PWakeUp.h"

#include <atomic>
#include <csignal>
#include <functional>
#include <thread>

/// The first SIGINT, SIGTERM or SIGHUP is recorded; the second ends the process at once with the
/// exit code 128 plus its number. SIGHUP stays ignored when the host was started with it ignored,
/// as nohup does.
///
/// A write to a closed pipe fails instead of ending the process, also in plugins. Programs started
/// by plugins get SIGPIPE as usual, but inherit the blocked signals.
class PStopSignals
{
public:
    /// Blocks the signals for the calling thread and all threads that it creates, and starts to
    /// wait for them. Create the object before any other thread. iCleanUp is called before the
    /// second signal ends the process, on a thread of its own. Throws std::system_error.
    explicit PStopSignals(std::function<void()> iCleanUp);

    /// Stops waiting. The signals stay blocked.
    ~PStopSignals();

    PStopSignals(const PStopSignals&) = delete;
    PStopSignals& operator=(const PStopSignals&) = delete;

    /// Whether a signal has arrived. [any thread]
    bool hasCome() const;

    /// Readable when a signal has arrived.
    int descriptor() const;

private:
    void listen();
    void take(int iSignal);

    sigset_t fSignals;
    const std::function<void()> fCleanUp;
    const PWakeUp fArrival;
    std::atomic<bool> fHasCome{false};
    std::atomic<bool> fEnding{false};
    std::thread fListener; // last: it uses all members above
};

#endif
