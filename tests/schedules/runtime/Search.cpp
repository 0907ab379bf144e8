// SPDX-License-Identifier: MIT
#include "Search.h"

#include "Explored.h"
#include "Interleaving.h"
#include "Interrupt.h"
#include "Preemptions.h"
#include "Random.h"

#include <algorithm>

namespace schedules
{
namespace
{
double _since(std::chrono::steady_clock::time_point iBegin)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - iBegin).count();
}

std::uint64_t _hash(const std::vector<Decision>& iDecisions)
{
    std::uint64_t hash = 0;
    for (const Decision& decision : iDecisions)
    {
        for (const std::uint32_t part : {decision.thread, decision.choice, decision.next})
        {
            hash = Random(hash ^ part).next();
        }
    }
    return hash;
}
/// Finds out that random schedules repeat themselves.
class Novelty
{
public:
    /// Call after each schedule. True when hardly any of the last ones were new.
    bool isGone(const Searched& iDone)
    {
        if (iDone.drawn % kWindow != 0)
        {
            return false;
        }
        const std::uint64_t added = iDone.different - fBefore;
        fBefore = iDone.different;
        return added < kWindow / kNewOnceIn;
    }

private:
    static constexpr std::uint64_t kWindow = 200000;
    static constexpr std::uint64_t kNewOnceIn = 100;
    std::uint64_t fBefore = 0;
};
} // namespace

Search::Search(Runner& ioRunner, const Scenario& iScenario)
    : fRunner(ioRunner), fScenario(iScenario)
{
}

FaultPlan Search::drawFault(std::uint64_t iSeed, const std::uint32_t* iSeen) const
{
    Random random(iSeed ^ 0xfa017);
    FaultPlan fault;
    const std::uint32_t kind = random.below(5);
    if (kind != 0 && iSeen[kind - 1] > 0)
    {
        fault.kind = static_cast<FaultPlan::Kind>(kind);
        fault.index = 1 + random.below(iSeen[kind - 1]);
    }
    return fault;
}

bool Search::isAtLimit(const Searched& iDone, const Limits& iLimits) const
{
    return iDone.drawn >= iLimits.runs || iDone.seconds >= iLimits.seconds ||
           (iLimits.different > 0 && (iDone.different >= iLimits.different || iDone.exhausted)) ||
           Interrupt::signal() != 0;
}

/// Whether the steps of the schedule follow from the plan.
bool Search::canPredict(const Plan& iPlan)
{
    return iPlan.method == Method::ePct && iPlan.fault.kind == FaultPlan::eNone;
}

Searched Search::random(Plan iPlan, const Limits& iLimits, bool iFaults)
{
    Searched done;
    std::unordered_set<std::uint64_t> seen;
    std::uint32_t faults[4] = {};
    const std::uint64_t firstSeed = iPlan.seed;
    const auto begin = std::chrono::steady_clock::now();
    if (!fScenario.allowed().jumps)
    {
        iPlan.jumpEvery = 0;
    }
    std::uint32_t contended = 0;
    Novelty novelty;
    Explored explored;
    for (; !isAtLimit(done, iLimits); done.seconds = _since(begin))
    {
        iPlan.seed = firstSeed + done.drawn++;
        iPlan.fault =
            iFaults && fScenario.allowed().faults ? drawFault(iPlan.seed, faults) : FaultPlan{};
        done.exhausted = novelty.isGone(done);
        if (canPredict(iPlan) && explored.has(iPlan))
        {
            continue;
        }
        const Report& report = fRunner.run(fScenario, iPlan);
        ++done.runs;
        done.points += report.counts.points;
        if (canPredict(iPlan))
        {
            explored.ran(report);
        }
        contended = std::max(contended, report.counts.contended);
        iPlan.contended = contended;
        const std::vector<Decision> decisions = fRunner.decisions();
        done.different += seen.insert(_hash(decisions)).second ? 1 : 0;
        std::transform(faults, faults + 4, report.counts.faultsSeen, faults,
                       [](std::uint32_t a, std::uint32_t b) { return std::max(a, b); });
        if (report.outcome != Outcome::ePassed)
        {
            done.outcome = report.outcome;
            done.failure = ScheduleFile{fScenario.name(), iPlan.fault, decisions};
            break;
        }
    }
    done.seconds = _since(begin);
    return done;
}

bool Search::predicts(Plan iPlan, unsigned iCount)
{
    iPlan.jumpEvery = fScenario.allowed().jumps ? iPlan.jumpEvery : 0;
    Explored explored;
    for (unsigned i = 0; i < iCount; ++i, ++iPlan.seed)
    {
        static_cast<void>(explored.has(iPlan)); // both answers are predictions
        if (!explored.ran(fRunner.run(fScenario, iPlan)))
        {
            return false;
        }
    }
    return true;
}

Searched Search::exhaustive(unsigned iPreemptions, const Limits& iLimits)
{
    Searched done;
    const auto begin = std::chrono::steady_clock::now();
    Preemptions preemptions(iPreemptions);
    for (; !isAtLimit(done, iLimits); done.seconds = _since(begin))
    {
        Plan plan;
        plan.method = Method::eReplay;
        plan.listChoices = true;
        plan.jumpEvery = fScenario.allowed().jumps ? 1 : 0;
        if (!preemptions.next(plan.decisions))
        {
            done.complete = true;
            break;
        }
        const Report& report = fRunner.run(fScenario, plan);
        ++done.runs;
        ++done.drawn;
        done.points += report.counts.points;
        if (report.outcome != Outcome::ePassed)
        {
            done.outcome = report.outcome;
            done.failure = ScheduleFile{fScenario.name(), {}, fRunner.decisions()};
            break;
        }
        preemptions.ran(report);
    }
    done.different = done.runs;
    done.seconds = _since(begin);
    return done;
}

Plan Search::planOf(const ScheduleFile& iSchedule) const
{
    Plan plan;
    plan.method = Method::eReplay;
    plan.fault = iSchedule.fault;
    plan.decisions = iSchedule.decisions;
    return plan;
}

Outcome Search::replay(const ScheduleFile& iSchedule)
{
    return fRunner.run(fScenario, planOf(iSchedule)).outcome;
}

ScheduleFile Search::minimised(const ScheduleFile& iFailure, Outcome iOutcome)
{
    ScheduleFile best = iFailure;
    for (std::size_t part = std::max<std::size_t>(best.decisions.size() / 2, 1); part > 0;
         part /= 2)
    {
        for (std::size_t begin = 0; begin < best.decisions.size() && Interrupt::signal() == 0;)
        {
            ScheduleFile shorter = best;
            const auto first = shorter.decisions.begin() + static_cast<std::ptrdiff_t>(begin);
            const std::size_t count = std::min(part, shorter.decisions.size() - begin);
            shorter.decisions.erase(first, first + static_cast<std::ptrdiff_t>(count));
            if (replay(shorter) == iOutcome)
            {
                best = shorter;
            }
            else
            {
                begin += part;
            }
        }
    }
    return best;
}

std::string Search::explained(const ScheduleFile& iSchedule)
{
    Plan plan = planOf(iSchedule);
    plan.explain = true;
    const Report* report = &fRunner.run(fScenario, plan);
    if (report->outcome == Outcome::eRace && report->watched != 0)
    {
        plan.watch = report->watched;
        report = &fRunner.run(fScenario, plan);
    }
    return Interleaving(*report).text();
}
} // namespace schedules
