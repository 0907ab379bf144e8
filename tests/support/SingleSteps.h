// SPDX-License-Identifier: MIT
// SingleSteps: runs another thread between two instructions of a call.
#ifndef IXLAL_TESTS_SINGLESTEPS_H
#define IXLAL_TESTS_SINGLESTEPS_H

#include <functional>

struct SingleSteps
{
    /// False on other processors, and with the thread sanitizer, which delays the signals that
    /// single steps need.
    static bool arePossible();

    /// Runs iCode on this thread. Before instruction number iStep it waits until another thread has
    /// run iAction. False if iCode ended before: iAction was not run then. No other test thread may
    /// step at the same time.
    static bool run(const std::function<void()>& iCode, unsigned int iStep,
                    const std::function<void()>& iAction);
};

#endif
