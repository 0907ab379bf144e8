// SPDX-License-Identifier: MIT
// Watchdog: ends a schedule that blocks in real time.
#ifndef IXLAL_SCHEDULES_WATCHDOG_H
#define IXLAL_SCHEDULES_WATCHDOG_H

namespace schedules
{
class Watchdog
{
public:
    /// Signals of this process, and that of the timer, fail the schedule.
    static void catchSignals();

    static void start();
    static void stop();
};
} // namespace schedules

#endif
