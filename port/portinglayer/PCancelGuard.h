// SPDX-License-Identifier: MIT
// PCancelGuard: defers cancellation of the calling thread.
#ifndef IXLAL_PCANCELGUARD_H
#define IXLAL_PCANCELGUARD_H

#include <pthread.h>

/// Defers a pthread_cancel of the calling thread until the end of its scope, and then restores the
/// previous state. Use it around calls that wait or use files, so that the code between them cannot
/// be left halfway. It cannot protect a thread with asynchronous cancellation before it is
/// constructed.
class PCancelGuard
{
public:
    PCancelGuard() noexcept : fBefore(PTHREAD_CANCEL_ENABLE)
    {
        // Cannot fail for a valid state, here and below.
        (void)pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &fBefore);
    }

    ~PCancelGuard()
    {
        (void)pthread_setcancelstate(fBefore, nullptr);
    }

    PCancelGuard(const PCancelGuard&) = delete;
    PCancelGuard& operator=(const PCancelGuard&) = delete;

private:
    int fBefore;
};

#endif
