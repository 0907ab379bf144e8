// SPDX-License-Identifier: MIT
// Strategy: decides which thread runs next, by the plan of the schedule.
#ifndef IXLAL_SCHEDULES_STRATEGY_H
#define IXLAL_SCHEDULES_STRATEGY_H

#include "Plan.h"
#include "Thread.h"

#include <cstddef>
#include <cstdint>

namespace schedules
{
/// Sets of threads are bits by their numbers.
class Strategy
{
public:
    /// iDecisions stays.
    static void begin(const PlanBasics& iPlan, const Decision* iDecisions, std::size_t iCount);

    /// A new thread gets its priority; one that spins gets the lowest.
    static void added(const Thread& iThread);
    static void spins(const Thread& iThread);

    /// Whether time jumps to the next deadline at this choice of a thread.
    static bool isJump(const Thread& iThread);

    /// The decision that it did.
    static void jumped(const Thread& iThread);

    /// The number of the thread that runs next. iCanGoOn: iThread itself could run. iCanJump: some
    /// thread waits for a deadline.
    static unsigned next(const Thread& iThread, bool iCanGoOn, bool iCanJump, std::uint32_t iReady,
                         Op iOp, const volatile void* iObject);

private:
    static unsigned usual(const Thread& iThread, bool iCanGoOn, std::uint32_t iReady);
    static unsigned pick(const Thread& iThread, bool iCanGoOn, std::uint32_t iReady);
    static unsigned walk(const Thread& iThread, bool iCanGoOn, std::uint32_t iReady);
    static const Decision* replayed(const Thread& iThread, bool iJump);
    static void decided(const Thread& iThread, std::uint32_t iNext);
    static void list(const Choice& iChoice);
};
} // namespace schedules

#endif
