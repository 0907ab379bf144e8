// SPDX-License-Identifier: MIT
// PStopSignal: waits for SIGINT and SIGTERM without a signal handler.
#ifndef IXLAL_EXAMPLES_PSTOPSIGNAL_H
#define IXLAL_EXAMPLES_PSTOPSIGNAL_H

#include <chrono>
#include <csignal>

class PStopSignal
{
public:
    /// Blocks both signals, so that they stay pending until waitFor or wait. Construct it before
    /// any thread starts, because threads inherit the signal mask.
    PStopSignal();

    PStopSignal(const PStopSignal&) = delete;
    PStopSignal& operator=(const PStopSignal&) = delete;

    /// Returns true when a signal has arrived, false when iLimit has passed without one.
    bool waitFor(std::chrono::milliseconds iLimit) const;

    /// Returns when a signal has arrived.
    void wait() const;

private:
    sigset_t fSignals;
};

#endif
