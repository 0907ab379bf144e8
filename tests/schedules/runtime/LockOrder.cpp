// SPDX-License-Identifier: MIT
#include "LockOrder.h"

#include <bitset>

namespace schedules
{
namespace
{
constexpr unsigned kLocks = 512;

std::bitset<kLocks> sAfter[kLocks]; ///< the locks that were taken while this one was held
unsigned sCount = 1;                ///< index 0 is none

unsigned _index(SyncObject& ioLock)
{
    if (ioLock.lockIndex == 0 && sCount < kLocks)
    {
        ioLock.lockIndex = sCount++;
    }
    return ioLock.lockIndex;
}
} // namespace

bool LockOrder::reaches(unsigned iFrom, unsigned iTo)
{
    std::bitset<kLocks> seen;
    unsigned pending[kLocks];
    unsigned count = 0;
    pending[count++] = iFrom;
    seen[iFrom] = true;
    while (count > 0)
    {
        const unsigned lock = pending[--count];
        if (lock == iTo)
        {
            return true;
        }
        for (unsigned i = 1; i < sCount; ++i)
        {
            if (sAfter[lock][i] && !seen[i])
            {
                seen[i] = true;
                pending[count++] = i;
            }
        }
    }
    return false;
}

const void* LockOrder::add(const Thread& iThread, SyncObject& ioLock)
{
    const unsigned taken = _index(ioLock);
    for (unsigned i = 0; i < iThread.lockCount; ++i)
    {
        SyncObject& held = SyncTable::at(iThread.locks[i]);
        const unsigned before = _index(held);
        if (before == taken || before == 0 || taken == 0 || sAfter[before][taken])
        {
            continue;
        }
        if (reaches(taken, before))
        {
            return held.address;
        }
        sAfter[before][taken] = true;
    }
    return nullptr;
}
} // namespace schedules
