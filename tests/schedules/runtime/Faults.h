// SPDX-License-Identifier: MIT
// Faults: the call of a schedule that has to fail.
#ifndef IXLAL_SCHEDULES_FAULTS_H
#define IXLAL_SCHEDULES_FAULTS_H

#include "Plan.h"

namespace schedules
{
class Faults
{
public:
    static void begin(const PlanBasics& iPlan);

    /// Counts a call of this kind; whether it has to fail.
    static bool isNext(FaultPlan::Kind iKind);

    /// Whether this schedule has a fault at all.
    static bool isPlanned();
};
} // namespace schedules

#endif
