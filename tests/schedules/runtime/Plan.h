// SPDX-License-Identifier: MIT
// Plan: how one schedule is chosen.
#ifndef IXLAL_SCHEDULES_PLAN_H
#define IXLAL_SCHEDULES_PLAN_H

#include "Report.h"

#include <cstdint>
#include <vector>

namespace schedules
{
enum class Method : std::uint8_t
{
    eReplay, ///< the decisions, otherwise the default
    eWalk,   ///< leaves a thread with probability 1/20
    ePct     ///< random priorities with depth - 1 changes
};

/// What fails, and which call of its kind, counted from 1.
struct FaultPlan
{
    enum Kind : std::uint8_t
    {
        eNone,
        eMemory,
        eLock,
        eThread,
        eFile
    };

    Kind kind = eNone;
    std::uint32_t index = 0;

    bool operator==(const FaultPlan&) const = default;
};

/// A plan but for its decisions: plain data that processes may share.
struct PlanBasics
{
    Method method = Method::ePct;
    std::uint64_t seed = 1;
    unsigned depth = 3;
    unsigned contended = 100; ///< choices between threads that are expected, for the changes of
                              ///< priority
    unsigned jumpEvery = 200; ///< time jumps once in so many points, 0 for never
    bool races = true;
    bool explain = false;     ///< records every step for the report
    bool whole = false;       ///< from the begin of the scenario, not from its checkpoint
    bool listChoices = false; ///< records the choices for the exhaustive search
    std::uintptr_t watch = 0; ///< address whose accesses are recorded as well
    FaultPlan fault;
};

struct Plan : PlanBasics
{
    std::vector<Decision> decisions; ///< to be replayed
};
} // namespace schedules

#endif
