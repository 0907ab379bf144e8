// SPDX-License-Identifier: MIT
// Interrupt: lets a signal end a search in an orderly way.
#ifndef IXLAL_SCHEDULES_INTERRUPT_H
#define IXLAL_SCHEDULES_INTERRUPT_H

namespace schedules
{
class Interrupt
{
public:
    /// SIGINT, SIGTERM and SIGHUP are remembered. A schedule that runs is finished.
    static void catchSignals();

    /// The signal that came; 0 if none did.
    static int signal();
};
} // namespace schedules

#endif
