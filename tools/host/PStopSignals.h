// SPDX-License-Identifier: MIT
// PStopSignals: handles the signals that stop the host, on a dedicated thread.
#ifndef IXLAL_TOOLS_PSTOPSIGNALS_H
#define IXLAL_TOOLS_PSTOPSIGNALS_H

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <optional>
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
    /// wait for them. Create the object before any other thread. Throws std::system_error.
    PStopSignals();

    /// Stops waiting. The signals stay blocked.
    ~PStopSignals();

    PStopSignals(const PStopSignals&) = delete;
    PStopSignals& operator=(const PStopSignals&) = delete;

    /// Whether a signal has arrived. [any thread]
    bool hasCome() const;

    /// Returns when a signal has arrived or iLimit has passed. [any thread]
    void wait(std::optional<std::chrono::seconds> iLimit) const;

private:
    void listen();
    bool isEnding() const;
    void take(int iSignal);

    sigset_t fSignals;
    mutable std::mutex fMutex;
    mutable std::condition_variable fChanged;
    bool fHasCome = false;
    bool fEnding = false;
    std::thread fListener; // last: it uses all members above
};

#endif
