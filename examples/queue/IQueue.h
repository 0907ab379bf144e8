// SPDX-License-Identifier: MIT
// IQueue: runs jobs one after the other.
#ifndef IXLAL_EXAMPLES_IQUEUE_H
#define IXLAL_EXAMPLES_IQUEUE_H

#include "IBase.h"

/// The interface ID; also the configuration ID of the queue's settings.
constexpr wchar_t kQueueId[] = L"com.example.queue";

/// The topic sent after every job, with the job and its result.
constexpr wchar_t kJobDoneTopic[] = L"com.example.queue.done";

class IJob : public IBase
{
public:
    /// Does the work, on the thread of the queue. Returns 0 or a negative code.
    virtual int run() = 0;
};

class IQueue : public IBase
{
public:
    /// Adds a job, which the queue holds until it has run. Returns 0, -502 for null, -105 when the
    /// queue is full, -2002 after the exit, or -501. [any thread]
    virtual int add(IJob* iJob) = 0;
};

#endif
