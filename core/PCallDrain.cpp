// SPDX-License-Identifier: MIT
#include "core/PCallDrain.h"

#include "config/PConfigManager.h"
#include "core/PCallGate.h"
#include "core/PCoreLog.h"
#include "core/PCoreServices.h"
#include "portinglayer/PTime.h"

#include <algorithm>

namespace
{
constexpr long long kLongestLeaveMilliseconds = 5000;
} // namespace

PCore* PCallDrain::fKeptCores = nullptr;

bool PCallDrain::letCallsLeave(PCallGate* iGate) noexcept
{
    if (fKept)
    {
        return false;
    }
    if (!iGate)
    {
        // A child that was forked during the start or the stop: the core belongs to its parent.
        fKept = true;
        return false;
    }
    const long long start = PTime::getTickCount();
    unsigned int calls = iGate->close(kLongestLeaveMilliseconds);
    if (calls == 0 && !closeConfigManager(start))
    {
        calls = 1;
    }
    if (calls != 0)
    {
        fKept = true;
        PLogger::error(fLog.logger(), 0,
                       L"[PCore] Calls that do not leave the core: %u, keep plugins and libraries",
                       calls);
    }
    return !fKept;
}

void PCallDrain::keep(PCore& iCore, PCallGate* iGate) noexcept
{
    fKeptGate = iGate;
    fNextKept = fKeptCores;
    fKeptCores = &iCore;
}

/// Returns false when a call of another thread uses the manager beyond the time limit of calls,
/// counted from iStart: it may read a file that does not respond.
bool PCallDrain::closeConfigManager(long long iStart) noexcept
{
    const long long waited = PTime::getTickCountDiff(iStart, PTime::getTickCount());
    const long long left = std::max(kLongestLeaveMilliseconds - waited, 0LL);
    PConfigManager* const manager = static_cast<PConfigManager*>(fServices.fConfigManager.get());
    if (!manager || manager->tryCleanup(static_cast<unsigned int>(left)) == 0)
    {
        return true;
    }
    PLogger::error(fLog.logger(), 0, L"[PCore] Configuration manager is busy on another thread");
    return false;
}
