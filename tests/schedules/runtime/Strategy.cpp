// SPDX-License-Identifier: MIT
#include "Strategy.h"

#include "Random.h"
#include "Scheduler.h"
#include "Verdict.h"

#include <algorithm>

namespace schedules
{
namespace
{
constexpr std::uint32_t kFairAfter = 40000; ///< points, from then on no thread starves another
constexpr unsigned kMostChanges = 8;
constexpr std::uint32_t kLeaveOnceIn = 20; ///< choices of a random walk

Method sMethod;
Random sRandom;
unsigned sJumpEvery;
bool sListChoices;
const Decision* sReplay;
std::size_t sReplayCount;
std::int64_t sLowest;
std::uint32_t sChanges[kMostChanges]; ///< the contended choices where the priority changes
unsigned sChangeCount;

bool _isSet(std::uint32_t iSet, unsigned iThread)
{
    return (iSet >> iThread & 1) != 0;
}

unsigned _first(std::uint32_t iSet)
{
    return static_cast<unsigned>(__builtin_ctz(iSet));
}

bool _isOne(std::uint32_t iSet)
{
    return (iSet & (iSet - 1)) == 0;
}
} // namespace

void Strategy::begin(const PlanBasics& iPlan, const Decision* iDecisions, std::size_t iCount)
{
    sMethod = iPlan.method;
    sRandom = Random(iPlan.seed);
    sJumpEvery = iPlan.jumpEvery;
    sListChoices = iPlan.listChoices;
    sReplay = iDecisions;
    sReplayCount = iCount;
    sChangeCount = std::min(iPlan.depth > 0 ? iPlan.depth - 1 : 0, kMostChanges);
    for (unsigned i = 0; i < sChangeCount; ++i)
    {
        sChanges[i] = 1 + sRandom.below(std::max(iPlan.contended, 1u));
    }
}

void Strategy::added(Thread& ioThread)
{
    ioThread.priority = 1 + static_cast<std::int64_t>(sRandom.below(1u << 30));
}

void Strategy::spins(Thread& ioThread)
{
    ioThread.priority = --sLowest;
}

const Decision* Strategy::replayed(const Thread& iThread, bool iJump)
{
    for (std::size_t i = 0; i < sReplayCount; ++i)
    {
        const Decision& decision = sReplay[i];
        if (decision.thread == iThread.id && decision.choice == iThread.choices &&
            (decision.next == Decision::kJump) == iJump)
        {
            return &decision;
        }
    }
    return nullptr;
}

bool Strategy::isJump(const Thread& iThread)
{
    return sMethod == Method::eReplay ? replayed(iThread, true) != nullptr
                                      : sJumpEvery != 0 && sRandom.below(sJumpEvery) == 0;
}

void Strategy::jumped(const Thread& iThread)
{
    decided(iThread, Decision::kJump);
}

unsigned Strategy::next(Thread& ioThread, bool iCanGoOn, bool iCanJump, std::uint32_t iReady,
                        Op iOp, const volatile void* iObject)
{
    Report& report = Verdict::report();
    const unsigned byDefault = usual(ioThread, iCanGoOn, iReady);
    const bool canJump = iCanJump && sJumpEvery != 0;
    report.counts.contended += _isOne(iReady) ? 0 : 1;
    if (sListChoices && (!_isOne(iReady) || canJump))
    {
        list(Choice{ioThread.id, ioThread.choices, iReady, byDefault, iCanGoOn, canJump, iOp,
                    static_cast<std::uint8_t>(std::min(report.decisionCount, 255u)),
                    reinterpret_cast<std::uintptr_t>(iObject)});
    }
    const unsigned chosen = pick(ioThread, iCanGoOn, iReady);
    if (chosen != byDefault)
    {
        decided(ioThread, chosen);
    }
    return chosen;
}

/// Who runs by default: the thread itself, or the first that can run when it waits or spins.
unsigned Strategy::usual(const Thread& iThread, bool iCanGoOn, std::uint32_t iReady)
{
    if (iCanGoOn && !iThread.isSpinning())
    {
        return iThread.id;
    }
    const std::uint32_t others = iReady & ~(1u << iThread.id);
    return _first(others != 0 ? others : iReady);
}

unsigned Strategy::pick(Thread& ioThread, bool iCanGoOn, std::uint32_t iReady)
{
    if (sMethod == Method::eReplay)
    {
        const Decision* decision = replayed(ioThread, false);
        return decision && _isSet(iReady, decision->next) ? decision->next
                                                          : usual(ioThread, iCanGoOn, iReady);
    }
    // Nothing is drawn before there is a choice, so that a seed means the same from a checkpoint.
    if (_isOne(iReady))
    {
        return _first(iReady);
    }
    if (sMethod == Method::ePct && Verdict::report().counts.points < kFairAfter)
    {
        return pickByPriority(ioThread, iReady);
    }
    if (iCanGoOn && !ioThread.isSpinning() && sRandom.below(kLeaveOnceIn) != 0)
    {
        return ioThread.id;
    }
    std::uint32_t ready = iReady;
    for (std::uint32_t skip = sRandom.below(static_cast<std::uint32_t>(__builtin_popcount(iReady)));
         skip > 0; --skip)
    {
        ready &= ready - 1;
    }
    return _first(ready);
}

void Strategy::changePriority(Thread& ioThread)
{
    for (unsigned i = 0; i < sChangeCount; ++i)
    {
        if (sChanges[i] == Verdict::report().counts.contended)
        {
            spins(ioThread);
            sChanges[i] = 0;
        }
    }
}

unsigned Strategy::pickByPriority(Thread& ioThread, std::uint32_t iReady)
{
    changePriority(ioThread);
    unsigned best = _first(iReady);
    Scheduler::each(
        [&](const Thread& iThread)
        {
            if (_isSet(iReady, iThread.id) && iThread.priority > Scheduler::thread(best).priority)
            {
                best = iThread.id;
            }
        });
    return best;
}

void Strategy::decided(const Thread& iThread, std::uint32_t iNext)
{
    Report& report = Verdict::report();
    if (report.decisionCount < Report::kDecisions)
    {
        report.decisions[report.decisionCount++] = Decision{iThread.id, iThread.choices, iNext};
    }
}

void Strategy::list(const Choice& iChoice)
{
    Report& report = Verdict::report();
    if (report.choiceCount == Report::kChoices)
    {
        Verdict::fail(Outcome::eNoEnd, "too many choices for an exhaustive search");
    }
    report.choices[report.choiceCount++] = iChoice;
}
} // namespace schedules
