// SPDX-License-Identifier: MIT
// Pct: probabilistic concurrency testing, threads of random priorities with a few changes.
#ifndef IXLAL_SCHEDULES_PCT_H
#define IXLAL_SCHEDULES_PCT_H

#include "Plan.h"
#include "Random.h"
#include "VectorClock.h"

#include <cstdint>

namespace schedules
{
/// Depends on the plan and on the calls alone, so a schedule can be predicted from the calls of
/// another one. Sets of threads are bits by their numbers.
class Pct
{
public:
    void begin(const PlanBasics& iPlan);

    /// A new thread gets its priority; one that spins gets the lowest.
    void added(unsigned iThread);
    void spins(unsigned iThread);

    /// Whether time jumps. Not if the plan has no jumps.
    bool isJump();

    /// Which of at least two threads runs next, when iThread stands at a switch point.
    unsigned pick(unsigned iThread, std::uint32_t iReady);

    /// For choices that other methods draw.
    Random& random();

private:
    static constexpr unsigned kMostChanges = 8;

    Random fRandom;
    unsigned fJumpEvery;
    std::uint32_t fChanges[kMostChanges]; ///< the picks where the priority changes
    unsigned fChangeCount;
    std::uint32_t fPicks;
    std::int64_t fLowest;
    std::int64_t fPriorities[kMaxThreads]; ///< the higher runs first
};
} // namespace schedules

#endif
