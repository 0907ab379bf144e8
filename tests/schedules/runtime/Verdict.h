// SPDX-License-Identifier: MIT
// Verdict: ends a schedule with its outcome, and writes what the report says about it.
#ifndef IXLAL_SCHEDULES_VERDICT_H
#define IXLAL_SCHEDULES_VERDICT_H

#include "Plan.h"
#include "Report.h"
#include "Thread.h"

#include <cstdint>

namespace schedules
{
/// For the thread that holds the baton.
class Verdict
{
public:
    static void begin(Report& oReport);

    /// What the report has to contain.
    static void plan(const PlanBasics& iPlan);

    /// The report of this schedule.
    static Report& report();

    /// Whether the schedule has ended: nothing is checked any more.
    static bool isGiven();

    /// End the process. failAt names the object, or the byte, that the failure is about.
    [[noreturn]] static void pass();
    [[noreturn]] static void fail(Outcome iOutcome, const char* iMessage);
    [[noreturn]] static void failAt(Outcome iOutcome, const char* iMessage, std::uintptr_t iObject);
    [[noreturn]] static void deadlock();

    /// Adds to the report where an object was initialised or first used.
    static void nameObject(std::uintptr_t iObject);

    /// The calls of the calling thread, innermost first, ended by 0.
    static void calls(std::uintptr_t* oCalls, unsigned iCount);

    /// Adds a step to the report, when the plan wants an explanation.
    static void note(const Thread& iThread, Op iOp, std::uintptr_t iObject);

private:
    static void dump(const Thread& iThread, const char* iLabel);
    static void dumpOthers();
    static void dumpBlocked(const Thread& iThread);
    static void listShared();
    static void copyMaps();
    [[noreturn]] static void end(Outcome iOutcome);
};
} // namespace schedules

#endif
