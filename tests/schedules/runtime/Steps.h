// SPDX-License-Identifier: MIT
// Steps: writes what the strategy was asked, and its answers, to the report.
#ifndef IXLAL_SCHEDULES_STEPS_H
#define IXLAL_SCHEDULES_STEPS_H

#include "Report.h"

#include <cstdint>

namespace schedules
{
/// For the thread that holds the baton.
class Steps
{
public:
    static void begin();

    static void add(Step::Kind iKind, unsigned iThread, std::uint32_t iReady, unsigned iAnswer);

    /// The steps from here on are not written: those of the schedule, or only those of this
    /// process.
    static void cut();
    static void leave();
};
} // namespace schedules

#endif
