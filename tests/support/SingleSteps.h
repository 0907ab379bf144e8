// SPDX-License-Identifier: MIT
// SingleSteps: lets another thread act between two instructions of a call.
#ifndef IXLAL_TESTS_SINGLESTEPS_H
#define IXLAL_TESTS_SINGLESTEPS_H

#include <functional>

struct SingleSteps
{
    /// False where the processor is another one, and under the thread sanitizer, which delays the
    /// signals that the steps are made of.
    static bool arePossible();

    /// Runs iCode on this thread. Ahead of its instruction iStep, it waits until another thread has
    /// run iAction. False when iCode ended before: iAction was not run then. No other test thread
    /// may step at the same time.
    static bool run(const std::function<void()>& iCode, unsigned int iStep,
                    const std::function<void()>& iAction);
};

#endif
