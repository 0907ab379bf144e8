// SPDX-License-Identifier: MIT
// PStopSignal: waits for SIGINT and SIGTERM without a signal handler.
#ifndef IXLAL_EXAMPLES_PSTOPSIGNAL_H
#define IXLAL_EXAMPLES_PSTOPSIGNAL_H

#include <chrono>
#include <csignal>

class PStopSignal
{
public:
    /// Keeps both signals waiting until somebody asks for them. Made before any thread is
    /// started, since threads inherit this.
    PStopSignal();

    PStopSignal(const PStopSignal&) = delete;
    PStopSignal& operator=(const PStopSignal&) = delete;

    /// Returns true when a signal has come, false when iLimit passed without one.
    bool waitFor(std::chrono::milliseconds iLimit) const;

    /// Returns when a signal has come.
    void wait() const;

private:
    sigset_t fSignals;
};

#endif
