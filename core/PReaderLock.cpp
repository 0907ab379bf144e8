// SPDX-License-Identifier: MIT
#include "core/PReaderLock.h"

#include "portinglayer/PLockGuard.h"
#include "portinglayer/PThread.h"

#include <algorithm>
#include <iterator>

namespace
{
/// The limit of one wait, in milliseconds. The writer is notified earlier.
constexpr unsigned int kPatience = 1000;
} // namespace

void PReaderLock::init() noexcept
{
    // Without them the writer looks again every millisecond.
    (void)fMutex.init(false);
    (void)fLeft.init();
    fGeneration = PFork::generation();
}

// The writer may have counted this thread.
void PReaderLock::withdraw(Stripe& ioStripe) noexcept
{
    leave(ioStripe);
}

void PReaderLock::close() noexcept
{
    fClosed = true;
    if (hasReaders())
    {
        awaitReaders();
    }
}

bool PReaderLock::hasReaders() const noexcept
{
    return std::any_of(std::begin(fStripes), std::end(fStripes),
                       [](const Stripe& iStripe) { return iStripe.readers.load() != 0; });
}

// The readers that a forked child has inherited never leave.
void PReaderLock::awaitReaders() noexcept
{
    const PLockGuard lock(fMutex);
    while (isOwn() && hasReaders())
    {
        const int result = lock.result() != 0 ? lock.result() : fLeft.wait(&fMutex, kPatience);
        if (result != 0 && result != PConditionalVar::eTimeout)
        {
            PThread::psleep(1);
        }
    }
}

// A failure is ignored: the writer looks again after its time limit.
void PReaderLock::wakeWriter() noexcept
{
    const PLockGuard lock(fMutex);
    (void)fLeft.notifyAll();
}
