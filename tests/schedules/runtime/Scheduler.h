// SPDX-License-Identifier: MIT
// Scheduler: runs one thread at a time and decides at every switch point which one is next.
#ifndef IXLAL_SCHEDULES_SCHEDULER_H
#define IXLAL_SCHEDULES_SCHEDULER_H

#include "Plan.h"
#include "Report.h"
#include "SyncTable.h"
#include "Thread.h"

#include <cstdint>

namespace schedules
{
/// The schedule of this process. Threads are real ones that hand over a baton: only the thread that
/// holds it runs. Time is virtual. It moves when every thread waits, to the earliest deadline, and
/// now and then while threads could run.
class Scheduler
{
public:
    /// Says where the calling thread is while a hook runs.
    class Location
    {
    public:
        Location(Thread& ioThread, std::uintptr_t iFrom) : fThread(ioThread)
        {
            if (fThread.depth < Thread::kDepth)
            {
                fThread.calls[fThread.depth] = iFrom;
            }
            ++fThread.depth;
        }
        ~Location()
        {
            --fThread.depth;
        }
        Location(const Location&) = delete;
        Location& operator=(const Location&) = delete;

    private:
        Thread& fThread;
    };

    /// Makes the calling thread the first of a schedule.
    static void begin(const Plan& iPlan, Report& oReport);

    /// Continues by another plan, while there is only one thread. iDecisions stays.
    static void replan(const PlanBasics& iPlan, const Decision* iDecisions, std::size_t iCount);

    /// The calling thread; null outside schedules.
    static Thread* current();

    /// A thread by its number, and the number of all that ever started.
    static Thread& thread(unsigned iNumber);
    static unsigned count();

    template <class F>
    static void each(F iVisit)
    {
        for (unsigned i = 0; i < count(); ++i)
        {
            iVisit(thread(i));
        }
    }

    /// A switch point: before an operation of the calling thread on an object.
    static void point(Op iOp, const volatile void* iObject);

    /// Waits until wake() of this object, or the deadline. False after the deadline.
    static bool wait(Op iWaits, const volatile void* iObject, std::uint64_t iDeadline = kNever);

    /// Waits until iDescriptor can be read.
    static void waitToRead(int iDescriptor);

    /// Lets at most iMost threads that wait for the object go on; returns their number.
    static unsigned wake(Op iWaits, const volatile void* iObject, unsigned iMost);

    /// Creates a thread; it runs when it is chosen. Null when there are too many.
    static Thread* add(void* (*iStart)(void*), void* iArgument);
    static Thread* find(pthread_t iHandle);
    static void forget(Thread& ioThread);

    /// Takes back add(): the system refused the thread.
    static void notStarted(Thread& ioThread);

    /// The first thing that a new thread does, and the last.
    static void enter(Thread& ioThread);
    static void leave(Thread& ioThread);

    /// Forks. The calling thread is the only one of the child, from the first handler of the fork
    /// on.
    static pid_t fork();

    static std::uint64_t now();

    /// The number of the process, as the scenario sees it.
    static pid_t process();

    /// The locks that a thread holds, and their order.
    static void locked(SyncObject& ioLock, bool iTried);
    static void unlocked(const SyncObject& iLock);

    /// Fails the schedule when all threads together waited longer than this.
    static void limitTime(std::uint64_t iNanoseconds);

private:
    static void switchFrom(Thread& ioThread, bool iCanGoOn, Op iOp, const volatile void* iObject);
    static Thread& choose(Thread& ioThread, bool iCanGoOn, Op iOp, const volatile void* iObject);
    static std::uint32_t readyThreads();
    static Thread* nextDeadline();
    static bool jump();
    static bool pollDescriptors();
    static void waitForEvents();
    static void handOver(Thread& ioTo);
    static void await(Thread& ioThread);
};
} // namespace schedules

#endif
