// SPDX-License-Identifier: MIT
#include "Preemptions.h"

#include <algorithm>

namespace schedules
{
Preemptions::Preemptions(unsigned iMost) : fMost(iMost), fPending(1)
{
}

bool Preemptions::next(std::vector<Decision>& oDecisions)
{
    if (fPending.empty())
    {
        return false;
    }
    fCurrent = fPending.back();
    fPending.pop_back();
    oDecisions = fCurrent.decisions;
    return true;
}

void Preemptions::share(const Report& iReport)
{
    for (std::uint32_t i = 0; i < iReport.sharedCount; ++i)
    {
        if (!fShared.insert(iReport.shared[i]).second)
        {
            continue;
        }
        const auto found = fLeftOut.find(iReport.shared[i]);
        if (found != fLeftOut.end())
        {
            fPending.insert(fPending.end(), found->second.begin(), found->second.end());
            fLeftOut.erase(found);
        }
    }
}

void Preemptions::ran(const Report& iReport)
{
    share(iReport);
    for (std::uint32_t i = 0; i < iReport.choiceCount; ++i)
    {
        // Earlier choices were those of the schedules that this one comes from.
        if (iReport.choices[i].decision >= fCurrent.decisions.size())
        {
            branch(iReport.choices[i]);
        }
    }
}

void Preemptions::branch(const Choice& iChoice)
{
    if (!fCurrent.decisions.empty() && fCurrent.decisions.back().thread == iChoice.thread &&
        fCurrent.decisions.back().choice == iChoice.choice)
    {
        return;
    }
    for (std::uint32_t thread = 0; thread < kMaxThreads; ++thread)
    {
        if ((iChoice.ready >> thread & 1) != 0 && thread != iChoice.usual)
        {
            add(iChoice, thread);
        }
    }
    if (iChoice.canJump != 0)
    {
        add(iChoice, Decision::kJump);
    }
}

void Preemptions::add(const Choice& iChoice, std::uint32_t iNext)
{
    Pending pending = fCurrent;
    pending.decisions.push_back(Decision{iChoice.thread, iChoice.choice, iNext});
    if (iChoice.canGoOn != 0 || iNext == Decision::kJump)
    {
        ++pending.preemptions;
    }
    if (pending.preemptions > fMost)
    {
        return;
    }
    // A jump does not commute: the thread may read the clock before its next shared operation.
    const bool commutes = iNext != Decision::kJump && iChoice.canGoOn != 0 && iChoice.object != 0 &&
                          fShared.count(iChoice.object) == 0;
    if (commutes)
    {
        fLeftOut[iChoice.object].push_back(pending);
    }
    else
    {
        fPending.push_back(pending);
    }
}
} // namespace schedules
