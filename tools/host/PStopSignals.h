// SPDX-License-Identifier: MIT
// PStopSignals: the signals that stop the host, taken by a thread of their own.
#ifndef IXLAL_TOOLS_PSTOPSIGNALS_H
#define IXLAL_TOOLS_PSTOPSIGNALS_H

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <optional>
#include <thread>

/// The first SIGINT, SIGTERM or SIGHUP is kept for whoever asks; the second ends the process at
/// once with the exit code 128 and its number. SIGHUP is left alone when the host was started with
/// it ignored, as nohup does.
///
/// A write to a closed pipe fails instead of ending the process, for plugins too. The programs that
/// they start see SIGPIPE as usual, but inherit the blocked signals from the thread that starts
/// them.
class PStopSignals
{
public:
    /// Blocks the signals for the calling thread and all that it starts, and begins to wait for
    /// them. Made before any other thread. Throws std::system_error.
    PStopSignals();

    /// Ends the waiting. The signals stay blocked.
    ~PStopSignals();

    PStopSignals(const PStopSignals&) = delete;
    PStopSignals& operator=(const PStopSignals&) = delete;

    /// Whether a signal has come. [any thread]
    bool hasCome() const;

    /// Returns when a signal has come or iLimit has passed. [any thread]
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
    std::thread fListener; // last: it uses all of the above
};

#endif
