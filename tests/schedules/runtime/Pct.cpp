// SPDX-License-Identifier: MIT
#include "Pct.h"

#include <algorithm>

namespace schedules
{
void Pct::begin(const PlanBasics& iPlan)
{
    fRandom = Random(iPlan.seed);
    fJumpEvery = iPlan.jumpEvery;
    fPicks = 0;
    fLowest = 0;
    fChangeCount = std::min(iPlan.depth > 0 ? iPlan.depth - 1 : 0, kMostChanges);
    for (unsigned i = 0; i < fChangeCount; ++i)
    {
        fChanges[i] = 1 + fRandom.below(std::max(iPlan.contended, 1u));
    }
}

void Pct::added(unsigned iThread)
{
    fPriorities[iThread] = 1 + static_cast<std::int64_t>(fRandom.below(1u << 30));
}

void Pct::spins(unsigned iThread)
{
    fPriorities[iThread] = --fLowest;
}

bool Pct::isJump()
{
    return fJumpEvery != 0 && fRandom.below(fJumpEvery) == 0;
}

unsigned Pct::pick(unsigned iThread, std::uint32_t iReady)
{
    ++fPicks;
    if (std::find(fChanges, fChanges + fChangeCount, fPicks) != fChanges + fChangeCount)
    {
        spins(iThread);
    }
    unsigned best = static_cast<unsigned>(__builtin_ctz(iReady));
    for (std::uint32_t others = iReady & (iReady - 1); others != 0; others &= others - 1)
    {
        const unsigned other = static_cast<unsigned>(__builtin_ctz(others));
        best = fPriorities[other] > fPriorities[best] ? other : best;
    }
    return best;
}

Random& Pct::random()
{
    return fRandom;
}
} // namespace schedules
