// SPDX-License-Identifier: MIT
#include "core/PCallGate.h"

#include "portinglayer/PLockGuard.h"
#include "portinglayer/PThread.h"
#include "portinglayer/PTime.h"

PCallGate::PCallGate(const PCallGate* iBefore) noexcept
    : fBefore(iBefore), fState(kClosed), fCloser(0)
{
}

void PCallGate::open() noexcept
{
    fCloser = 0;
    fState.fetch_and(~kClosed);
}

unsigned int PCallGate::close(unsigned int iMilliseconds) noexcept
{
    // The first close opens both; later ones leave them as they are. When opening fails, there is
    // no wait, and calls that are inside count as calls that stay.
    (void)fMutex.init(false);
    (void)fLeft.init();
    fCloser = PThread::getCurrentThreadId();
    if (fState.fetch_or(kClosed) != kClosed)
    {
        awaitCalls(iMilliseconds);
    }
    return fState & ~kClosed;
}

bool PCallGate::isCloser() const noexcept
{
    return fCloser == PThread::getCurrentThreadId();
}

// Failures are ignored: the waiting thread reads the state again after its time limit.
void PCallGate::tellCloser() noexcept
{
    const PLockGuard lock(fMutex);
    (void)fLeft.notifyAll();
}

void PCallGate::awaitCalls(unsigned int iMilliseconds) noexcept
{
    const long long start = PTime::getTickCount();
    long long left = iMilliseconds;
    PLockGuard lock(fMutex);
    while (left > 0 && lock.result() == 0 && fState != kClosed)
    {
        const int result = fLeft.wait(&fMutex, static_cast<unsigned int>(left));
        if (result != 0 && result != PConditionalVar::eTimeout)
        {
            return;
        }
        left = iMilliseconds - PTime::getTickCountDiff(start, PTime::getTickCount());
    }
}
