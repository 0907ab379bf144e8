// SPDX-License-Identifier: MIT
#include "PLogTurn.h"

#include "portinglayer/PFork.h"
#include "portinglayer/PRetry.h"
#include "portinglayer/PThread.h"

#include <cerrno>

#include <sched.h>
#include <sys/file.h>

namespace
{
// A turn lasts as long as one write, so yielding usually suffices.
constexpr int kYields = 200;
constexpr int kSleeps = 1000;

int _lock(int iHandle, int iOperation) noexcept
{
    return PRetry::call([=] { return ::flock(iHandle, iOperation); });
}

bool _isTaken(int iHandle) noexcept
{
    return _lock(iHandle, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}
} // namespace

PLogTurn::PLogTurn() noexcept : fHandle(-1), fGeneration(0), fHasWaited(false), fIsOverdue(false)
{
}

PLogTurn::~PLogTurn()
{
    giveBack();
}

bool PLogTurn::take(int iHandle) noexcept
{
    giveBack();
    bool isTaken = _isTaken(iHandle);
    fHasWaited = isTaken;
    for (int tries = 0; isTaken && !fIsOverdue && tries < kYields + kSleeps; ++tries)
    {
        if (tries < kYields)
        {
            ::sched_yield();
        }
        else
        {
            PThread::psleep(1);
        }
        isTaken = _isTaken(iHandle);
    }
    fIsOverdue = isTaken;
    fHandle = isTaken ? -1 : iHandle;
    fGeneration = PFork::generation();
    return !isTaken;
}

// Unlocks explicitly, because closing the handle does not unlock while a forked child has a copy of
// it. The child must not unlock, because that would release the lock of its parent.
void PLogTurn::giveBack() noexcept
{
    if (fHandle >= 0 && fGeneration == PFork::generation())
    {
        _lock(fHandle, LOCK_UN);
    }
    fHandle = -1;
}
