// SPDX-License-Identifier: MIT
#include "Explored.h"

#include "Pct.h"

namespace schedules
{
namespace
{
unsigned _answer(Pct& ioPct, const Step& iStep)
{
    switch (iStep.kind())
    {
    case Step::eAdded:
        ioPct.added(iStep.thread());
        return 0;
    case Step::eSpins:
        ioPct.spins(iStep.thread());
        return 0;
    case Step::eJump:
        return ioPct.isJump() ? 1 : 0;
    case Step::ePick:
        return ioPct.pick(iStep.thread(), iStep.ready());
    }
    return 0;
}
} // namespace

std::uint64_t Explored::Fork::key() const
{
    return std::uint64_t{branch} << 32 | std::uint64_t{step} << 8 | answer;
}

bool Explored::has(const PlanBasics& iPlan)
{
    fShared = 0;
    fEndsInTree = false;
    if (fBranches.empty())
    {
        return false;
    }
    Pct pct;
    pct.begin(iPlan);
    fFork = {};
    while (fFork.step < fBranches[fFork.branch].steps.size())
    {
        const Step& step = fBranches[fFork.branch].steps[fFork.step];
        fFork.answer = _answer(pct, step);
        ++fShared;
        if (fFork.answer == step.answer())
        {
            ++fFork.step;
            continue;
        }
        const auto next = fForks.find(fFork.key());
        if (next == fForks.end())
        {
            return false;
        }
        fFork = {next->second, 0, 0};
    }
    fEndsInTree = true;
    return !fBranches[fFork.branch].isCut;
}

/// Whether the schedule has left its branch at the fork, with the answer, or ends where it does.
bool Explored::isPredicted(const Report& iReport) const
{
    if (fEndsInTree)
    {
        return iReport.stepCount == fShared || fBranches[fFork.branch].isCut;
    }
    return fShared == 0 ||
           (iReport.stepCount >= fShared && iReport.steps[fShared - 1].answer() == fFork.answer);
}

bool Explored::ran(const Report& iReport)
{
    const bool isRight = isPredicted(iReport);
    if (!isRight || fEndsInTree)
    {
        return isRight;
    }
    if (!fBranches.empty())
    {
        fForks.emplace(fFork.key(), static_cast<std::uint32_t>(fBranches.size()));
    }
    fBranches.push_back(
        {{iReport.steps + fShared, iReport.steps + iReport.stepCount}, iReport.stepsAreCut});
    return true;
}
} // namespace schedules
