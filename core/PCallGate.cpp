// SPDX-License-Identifier: MIT
#include "core/PCallGate.h"

#include "portinglayer/PLockGuard.h"
#include "portinglayer/PThread.h"
#include "portinglayer/PTime.h"

PCallGate::PCallGate(const PCallGate* iBefore) noexcept
    : fStripes{}, fClosed(true), fCloser(0), fBefore(iBefore)
{
}

void PCallGate::open() noexcept
{
    fCloser = 0;
    fClosed = false;
}

unsigned int PCallGate::close(unsigned int iMilliseconds) noexcept
{
    // The first close opens both; later ones leave them as they are. When opening fails, there is
    // no wait, and calls that are inside count as calls that stay.
    (void)fMutex.init(false);
    (void)fLeft.init();
    fCloser = PThread::getCurrentThreadId();
    fClosed = true;
    return awaitCalls(iMilliseconds);
}

bool PCallGate::isCloser() const noexcept
{
    return fCloser == PThread::getCurrentThreadId();
}

// Failures are ignored: the waiting thread counts again after its time limit.
void PCallGate::tellCloser() noexcept
{
    const PLockGuard lock(fMutex);
    (void)fLeft.notifyAll();
}

unsigned int PCallGate::awaitCalls(unsigned int iMilliseconds) noexcept
{
    const long long start = PTime::getTickCount();
    long long left = iMilliseconds;
    PLockGuard lock(fMutex);
    unsigned int calls = countCalls();
    while (calls != 0 && left > 0 && lock.result() == 0)
    {
        const int result = fLeft.wait(&fMutex, static_cast<unsigned int>(left));
        calls = countCalls();
        if (result != 0 && result != PConditionalVar::eTimeout)
        {
            return calls;
        }
        left = iMilliseconds - PTime::getTickCountDiff(start, PTime::getTickCount());
    }
    return calls;
}

unsigned int PCallGate::countCalls() const noexcept
{
    unsigned int calls = 0;
    for (const Stripe& stripe : fStripes)
    {
        calls += stripe.calls;
    }
    return calls;
}
