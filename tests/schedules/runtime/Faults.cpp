// SPDX-License-Identifier: MIT
#include "Faults.h"

#include "Scheduler.h"
#include "Verdict.h"

namespace schedules
{
namespace
{
FaultPlan sFault;
}

void Faults::begin(const PlanBasics& iPlan)
{
    sFault = iPlan.fault;
}

bool Faults::isNext(FaultPlan::Kind iKind)
{
    const Thread* me = Scheduler::current();
    if (!me || me->finishing || me->reliable > 0 || Verdict::isGiven())
    {
        return false;
    }
    const std::uint32_t index = ++Verdict::report().counts.faultsSeen[iKind - 1];
    return sFault.kind == iKind && sFault.index == index;
}

bool Faults::isPlanned()
{
    return sFault.kind != FaultPlan::eNone;
}
} // namespace schedules
