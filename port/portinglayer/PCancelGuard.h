// SPDX-License-Identifier: MIT
// PCancelGuard: keeps the calling thread from being cancelled.
#ifndef IXLAL_PCANCELGUARD_H
#define IXLAL_PCANCELGUARD_H

#include <pthread.h>

/// While it lives, a pthread_cancel of the calling thread is put off; what comes after acts as
/// before. Stands around calls that wait or use files, so that the code between them need not be
/// ready to end there. A thread that allows itself to be cancelled at any instruction, instead of
/// in calls that wait, is beyond its help.
class PCancelGuard
{
public:
    PCancelGuard() noexcept : fBefore(PTHREAD_CANCEL_ENABLE)
    {
        // Cannot fail for a state that there is, here and below.
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
