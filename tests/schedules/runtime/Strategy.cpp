// SPDX-License-Identifier: MIT
#include "Strategy.h"

#include "Pct.h"
#include "Steps.h"
#include "Verdict.h"

#include <algorithm>

namespace schedules
{
namespace
{
constexpr std::uint32_t kFairAfter = 40000; ///< points, from then on no thread starves another
constexpr std::uint32_t kLeaveOnceIn = 20;  ///< choices of a random walk

Method sMethod;
Pct sPct;
bool sMayJump;
bool sListChoices;
const Decision* sReplay;
std::size_t sReplayCount;

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
    sPct.begin(iPlan);
    sMayJump = iPlan.jumpEvery != 0;
    sListChoices = iPlan.listChoices;
    sReplay = iDecisions;
    sReplayCount = iCount;
    Steps::begin();
}

void Strategy::added(const Thread& iThread)
{
    sPct.added(iThread.id);
    Steps::add(Step::eAdded, iThread.id, 0, 0);
}

void Strategy::spins(const Thread& iThread)
{
    sPct.spins(iThread.id);
    Steps::add(Step::eSpins, iThread.id, 0, 0);
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
    if (sMethod == Method::eReplay)
    {
        return replayed(iThread, true) != nullptr;
    }
    const bool jumps = sPct.isJump();
    Steps::add(Step::eJump, 0, 0, jumps ? 1 : 0);
    return jumps;
}

void Strategy::jumped(const Thread& iThread)
{
    decided(iThread, Decision::kJump);
}

unsigned Strategy::next(const Thread& iThread, bool iCanGoOn, bool iCanJump, std::uint32_t iReady,
                        Op iOp, const volatile void* iObject)
{
    Report& report = Verdict::report();
    const unsigned byDefault = usual(iThread, iCanGoOn, iReady);
    const bool canJump = iCanJump && sMayJump;
    report.counts.contended += _isOne(iReady) ? 0 : 1;
    if (sListChoices && (!_isOne(iReady) || canJump))
    {
        list(Choice{iThread.id, iThread.choices, iReady, byDefault, iCanGoOn, canJump, iOp,
                    static_cast<std::uint8_t>(std::min(report.decisionCount, 255u)),
                    reinterpret_cast<std::uintptr_t>(iObject)});
    }
    const unsigned chosen = pick(iThread, iCanGoOn, iReady);
    if (chosen != byDefault)
    {
        decided(iThread, chosen);
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

unsigned Strategy::pick(const Thread& iThread, bool iCanGoOn, std::uint32_t iReady)
{
    if (sMethod == Method::eReplay)
    {
        const Decision* decision = replayed(iThread, false);
        return decision && _isSet(iReady, decision->next) ? decision->next
                                                          : usual(iThread, iCanGoOn, iReady);
    }
    // Nothing is drawn before there is a choice, so that a seed means the same from a checkpoint.
    if (_isOne(iReady))
    {
        return _first(iReady);
    }
    if (sMethod == Method::ePct && Verdict::report().counts.points < kFairAfter)
    {
        const unsigned best = sPct.pick(iThread.id, iReady);
        Steps::add(Step::ePick, iThread.id, iReady, best);
        return best;
    }
    Steps::cut();
    return walk(iThread, iCanGoOn, iReady);
}

unsigned Strategy::walk(const Thread& iThread, bool iCanGoOn, std::uint32_t iReady)
{
    Random& random = sPct.random();
    if (iCanGoOn && !iThread.isSpinning() && random.below(kLeaveOnceIn) != 0)
    {
        return iThread.id;
    }
    std::uint32_t ready = iReady;
    for (std::uint32_t skip = random.below(static_cast<std::uint32_t>(__builtin_popcount(iReady)));
         skip > 0; --skip)
    {
        ready &= ready - 1;
    }
    return _first(ready);
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
