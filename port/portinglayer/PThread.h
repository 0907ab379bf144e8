// SPDX-License-Identifier: MIT
// PThread: threads of the operating system.
#ifndef IXLAL_PTHREAD_H
#define IXLAL_PTHREAD_H

#include "PExport.h"

#include <pthread.h>

/// One started thread. Operations return 0 or a negated errno. None throws, and a thread that waits
/// in one is not cancelled there.
class IXLA_EXPORT PThread
{
public:
    PThread() noexcept;

    /// Detaches a thread that nobody joined: it runs on by itself.
    ~PThread();

    PThread(const PThread&) = delete;
    PThread& operator=(const PThread&) = delete;

    /// Starts iFunction(iArgument) on a new thread. -16 while an earlier one is not joined.
    int pcreate(void* (*iFunction)(void*), void* iArgument) noexcept;

    /// Waits for the thread's end; oResult is what its function returned. -3 when there is none,
    /// -130 in a child of the process that started it, which has no such thread.
    int pjoin(void*& oResult) noexcept;

    /// Sleeps for iMilliseconds of the monotonic clock, also across signals. [any thread]
    static void psleep(unsigned int iMilliseconds) noexcept;

    /// Identifies the calling thread among those that live; never 0. [any thread]
    static unsigned long getCurrentThreadId() noexcept;

private:
    pthread_t fHandle;
    unsigned short fGeneration; ///< of the process that it runs in, 0 without a thread
};

#endif
