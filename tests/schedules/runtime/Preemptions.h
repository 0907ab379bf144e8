// SPDX-License-Identifier: MIT
// Preemptions: all schedules with a limited number of preemptions, each once.
#ifndef IXLAL_SCHEDULES_PREEMPTIONS_H
#define IXLAL_SCHEDULES_PREEMPTIONS_H

#include "Report.h"

#include <map>
#include <set>
#include <vector>

namespace schedules
{
/// A schedule is the decisions in which it deviates from the default: the running thread goes on,
/// and the first one that can run follows a thread that waits. To leave a thread that could go on
/// is a preemption, and so is a jump of time while a thread could run. Each schedule that ran gives
/// new ones, with one more decision behind its last.
///
/// A preemption before an operation on an object that only one thread ever uses, or that all only
/// load, is not tried: the operation commutes with those of all other threads, so the preemption
/// before the thread's next shared operation has the same result. When a later schedule shows that
/// an object is shared after all, what was left out is tried.
class Preemptions
{
public:
    explicit Preemptions(unsigned iMost);

    /// The decisions of the next schedule; false when all were tried.
    bool next(std::vector<Decision>& oDecisions);

    /// The schedule of next() ran; its report lists the choices and the shared objects.
    void ran(const Report& iReport);

private:
    struct Pending
    {
        std::vector<Decision> decisions;
        unsigned preemptions = 0;
    };

    void share(const Report& iReport);
    void branch(const Choice& iChoice);
    void add(const Choice& iChoice, std::uint32_t iNext);

    unsigned fMost;
    Pending fCurrent;
    std::vector<Pending> fPending;
    std::set<std::uintptr_t> fShared;
    std::map<std::uintptr_t, std::vector<Pending>> fLeftOut;
};
} // namespace schedules

#endif
