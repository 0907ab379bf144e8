#include "core/PCallGate.h"

#include "portinglayer/PLockGuard.h"
#include "portinglayer/PThread.h"
#include "portinglayer/PTime.h"

namespace
{
constexpr unsigned int kClosed = 1u << 31;
} // namespace

PCallGate::PCallGate() noexcept : fState(kClosed), fCloser(0)
{
}

// The state is looked at before it is changed, so that callers who are refused again and again
// don't make a closed gate look busy.
bool PCallGate::enter() noexcept
{
    if (isClosed(fState.load()))
    {
        return false;
    }
    if (!isClosed(fState.fetch_add(1)))
    {
        return true;
    }
    leave();
    return false;
}

void PCallGate::leave() noexcept
{
    if (fState.fetch_sub(1) == (kClosed | 1u))
    {
        tellCloser();
    }
}

void PCallGate::open() noexcept
{
    fCloser = 0;
    fState.fetch_and(~kClosed);
}

unsigned int PCallGate::close(unsigned int iMilliseconds) noexcept
{
    // Open from the first time on. When that fails nobody waits, and who is inside then counts as
    // one who stays.
    (void)fMutex.init(false);
    (void)fLeft.init();
    fCloser = PThread::getCurrentThreadId();
    if (fState.fetch_or(kClosed) != kClosed)
    {
        awaitCalls(iMilliseconds);
    }
    return fState & ~kClosed;
}

bool PCallGate::isClosed(unsigned int iState) const noexcept
{
    return (iState & kClosed) != 0 && fCloser != PThread::getCurrentThreadId();
}

// Failures are not looked at here: who waits looks at the state again by itself.
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
