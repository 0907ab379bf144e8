// SPDX-License-Identifier: MIT
// ThreadEnd: tells the scheduler that a thread has ended.
#ifndef IXLAL_SCHEDULES_THREADEND_H
#define IXLAL_SCHEDULES_THREADEND_H

#include "Thread.h"

namespace schedules
{
class ThreadEnd
{
public:
    /// Call once, after the libraries of the process are loaded: their destructors run first.
    static void prepare();

    /// The calling thread leaves the scheduler after its other destructors.
    static void follow(Thread& ioThread);
};
} // namespace schedules

#endif
