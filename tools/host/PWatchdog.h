// SPDX-License-Identifier: MIT
// PWatchdog: notifies the service manager that the core answers.
#ifndef IXLAL_TOOLS_PWATCHDOG_H
#define IXLAL_TOOLS_PWATCHDOG_H

#include <memory>

/// Asks the core for its configuration manager and its event dispatcher and uses both, twice within
/// the time that WATCHDOG_USEC demands. Sends WATCHDOG=1 after each answer, so that nothing is sent
/// while the core hangs. Does nothing without WATCHDOG_USEC, or if it is for another process.
class PWatchdog
{
public:
    enum EAnswer
    {
        eCore, ///< of the core
        eHost  ///< of the host, while it has no core or restarts it
    };

    /// For answers of the core, create the object after the core has started.
    explicit PWatchdog(EAnswer iAnswer);

    /// Ends the questions. Waits some seconds for a pending answer, but does not wait for a core
    /// that hangs. Destroy the object before the core stops.
    ~PWatchdog();

    PWatchdog(const PWatchdog&) = delete;
    PWatchdog& operator=(const PWatchdog&) = delete;

private:
    struct State;

    static void watch(State& ioState);

    std::shared_ptr<State> fState; ///< null without a watchdog; a hanging thread holds it too
};

#endif
