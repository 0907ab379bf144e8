// SPDX-License-Identifier: MIT
// PThread: threads of the operating system.
#ifndef IXLAL_PTHREAD_H
#define IXLAL_PTHREAD_H

#include "PExport.h"

#include <pthread.h>

/// One started thread. Operations return 0 or a negated errno. None throws, and a thread that waits
/// in one is not cancelled during the wait.
class IXLA_EXPORT PThread
{
public:
    PThread() noexcept;

    /// Detaches a thread that was not joined; it continues to run.
    ~PThread();

    PThread(const PThread&) = delete;
    PThread& operator=(const PThread&) = delete;

    /// Starts iFunction(iArgument) on a new thread. -16 while an earlier one is not joined.
    int pcreate(void* (*iFunction)(void*), void* iArgument) noexcept;

    /// Waits until the thread ends; oResult is the result of its function. -3 when there is no
    /// thread, -130 in a forked child of the process that started it, where it does not exist.
    int pjoin(void*& oResult) noexcept;

    /// Sleeps for iMilliseconds of the monotonic clock; signals do not shorten it. [any thread]
    static void psleep(unsigned int iMilliseconds) noexcept;

    /// A number of the calling thread, unique among the threads that exist; never 0. [any thread]
    static unsigned long getCurrentThreadId() noexcept;

private:
    pthread_t fHandle;
    unsigned short fGeneration; ///< of the process that started it, 0 without a thread
};

#endif
