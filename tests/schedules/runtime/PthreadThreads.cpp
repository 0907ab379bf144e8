// SPDX-License-Identifier: MIT
// Threads, sleeps, futexes and forks.

#include "Checkpoint.h"
#include "Clock.h"
#include "Export.h"
#include "Faults.h"
#include "Locks.h"
#include "Raw.h"
#include "ThreadEnd.h"
#include "Verdict.h"

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <linux/futex.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

using namespace schedules;

namespace
{
constexpr std::size_t kStack = 512 * 1024;

void* _run(void* iThread)
{
    Thread& thread = *static_cast<Thread*>(iThread);
    ThreadEnd::follow(thread);
    Scheduler::enter(thread);
    return thread.start(thread.argument);
}

/// Stacks are never used twice, so that nothing of an ended thread is taken for the new one's.
int _create(Thread& ioThread)
{
    void* stack = mmap(nullptr, kStack, PROT_READ | PROT_WRITE,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK, -1, 0);
    if (stack == MAP_FAILED)
    {
        return EAGAIN;
    }
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstack(&attributes, stack, kStack);
    const int error = Raw::get().pthreadCreate(&ioThread.handle, &attributes, _run, &ioThread);
    pthread_attr_destroy(&attributes);
    return error;
}

template <class T>
std::uint64_t _futexDeadline(int iOperation, const T* iTime)
{
    if (!iTime)
    {
        return kNever;
    }
    if ((iOperation & FUTEX_CMD_MASK) == FUTEX_WAIT)
    {
        return Scheduler::now() + Clock::duration(*iTime);
    }
    const bool real = (iOperation & FUTEX_CLOCK_REALTIME) != 0;
    return Clock::at(real ? CLOCK_REALTIME : CLOCK_MONOTONIC, *iTime);
}

long _futexWait(const int* iWord, int iValue, std::uint64_t iDeadline)
{
    Scheduler::point(Op::eFutexWait, iWord);
    if (*iWord != iValue)
    {
        errno = EAGAIN;
        return -1;
    }
    if (Scheduler::wait(Op::eFutexWait, iWord, iDeadline))
    {
        return 0;
    }
    errno = ETIMEDOUT;
    return -1;
}

long _futexWake(const int* iWord, int iCount)
{
    Scheduler::point(Op::eFutexWake, iWord);
    return static_cast<long>(Scheduler::wake(Op::eFutexWait, iWord, static_cast<unsigned>(iCount)));
}

long _futex(long iNumber, const long* iArguments)
{
    const int* word = reinterpret_cast<const int*>(iArguments[0]);
    const int operation = static_cast<int>(iArguments[1]);
    const int value = static_cast<int>(iArguments[2]);
    switch (operation & FUTEX_CMD_MASK)
    {
    case FUTEX_WAIT:
    case FUTEX_WAIT_BITSET:
        return _futexWait(
            word, value,
            iNumber == SYS_futex
                ? _futexDeadline(operation, reinterpret_cast<const timespec*>(iArguments[3]))
                : _futexDeadline(operation, reinterpret_cast<const Time64*>(iArguments[3])));
    case FUTEX_WAKE:
    case FUTEX_WAKE_BITSET:
        return _futexWake(word, value);
    default:
        Verdict::fail(Outcome::eMisuse, "an operation of a futex that the runtime does not know");
    }
}

void _sleepUntil(std::uint64_t iDeadline)
{
    if (iDeadline <= Scheduler::now())
    {
        Scheduler::point(Op::eYield, nullptr);
        return;
    }
    Scheduler::point(Op::eSleep, nullptr);
    Scheduler::wait(Op::eSleep, nullptr, iDeadline);
}
} // namespace

SCHEDULES_EXPORT int pthread_create(pthread_t* oHandle, const pthread_attr_t* iAttributes,
                                    void* (*iStart)(void*), void* iArgument)
{
    Thread* me = Scheduler::current();
    if (!me)
    {
        return Raw::get().pthreadCreate(oHandle, iAttributes, iStart, iArgument);
    }
    SCHEDULES_HERE(*me);
    Checkpoint::reach();
    Scheduler::point(Op::eCreate, nullptr);
    if (Faults::isNext(FaultPlan::eThread))
    {
        return EAGAIN;
    }
    Thread* thread = Scheduler::add(iStart, iArgument);
    if (!thread)
    {
        return EAGAIN;
    }
    if (const int error = _create(*thread))
    {
        Scheduler::notStarted(*thread);
        return error;
    }
    int state = PTHREAD_CREATE_JOINABLE;
    if (iAttributes)
    {
        pthread_attr_getdetachstate(iAttributes, &state);
    }
    thread->detached = state == PTHREAD_CREATE_DETACHED;
    *oHandle = thread->handle;
    return 0;
}

SCHEDULES_EXPORT int pthread_join(pthread_t iHandle, void** oResult)
{
    Thread* me = Scheduler::current();
    Thread* other = me ? Scheduler::find(iHandle) : nullptr;
    if (!other)
    {
        return Raw::get().pthreadJoin(iHandle, oResult);
    }
    SCHEDULES_HERE(*me);
    Scheduler::point(Op::eJoin, other);
    while (other->state != Thread::eEnded)
    {
        Scheduler::wait(Op::eJoin, other);
    }
    me->clock.join(other->clock);
    Scheduler::forget(*other);
    return Raw::get().pthreadJoin(iHandle, oResult);
}

SCHEDULES_EXPORT int pthread_detach(pthread_t iHandle)
{
    Thread* me = Scheduler::current();
    Thread* other = me ? Scheduler::find(iHandle) : nullptr;
    if (!other)
    {
        return Raw::get().pthreadDetach(iHandle);
    }
    SCHEDULES_HERE(*me);
    Scheduler::point(Op::eJoin, other);
    other->detached = true;
    if (other->state == Thread::eEnded)
    {
        Scheduler::forget(*other);
    }
    return Raw::get().pthreadDetach(iHandle);
}

SCHEDULES_EXPORT int sched_yield()
{
    if (Thread* me = Scheduler::current())
    {
        SCHEDULES_HERE(*me);
        Scheduler::point(Op::eYield, nullptr);
    }
    return 0;
}

/// The process at a checkpoint and its children are one process for the scenario.
SCHEDULES_EXPORT pid_t getpid()
{
    return Scheduler::current() ? Scheduler::process()
                                : static_cast<pid_t>(Raw::get().syscall(SYS_getpid));
}

SCHEDULES_EXPORT pid_t fork()
{
    Thread* me = Scheduler::current();
    if (!me)
    {
        return Raw::get().fork();
    }
    SCHEDULES_HERE(*me);
    Scheduler::point(Op::eFork, nullptr);
    return Scheduler::fork();
}

SCHEDULES_EXPORT long syscall(long iNumber, ...)
{
    long arguments[6];
    va_list list;
    va_start(list, iNumber);
    for (long& argument : arguments)
    {
        argument = va_arg(list, long);
    }
    va_end(list);
    Thread* me = Scheduler::current();
    bool futex = iNumber == SYS_futex;
#ifdef SYS_futex_time64
    futex = futex || iNumber == SYS_futex_time64;
#endif
    if (!me || !futex)
    {
        return Raw::get().syscall(iNumber, arguments[0], arguments[1], arguments[2], arguments[3],
                                  arguments[4], arguments[5]);
    }
    SCHEDULES_HERE(*me);
    return _futex(iNumber, arguments);
}

#define CLOCKS(read, sleep, type)                                                                  \
    SCHEDULES_EXPORT int read(clockid_t iClock, type* oTime)                                       \
    {                                                                                              \
        if (!Scheduler::current())                                                                 \
        {                                                                                          \
            return static_cast<int>(Raw::get().syscall(                                            \
                sizeof(oTime->tv_sec) == 8 ? SYS_clock_gettime64 : SYS_clock_gettime, iClock,      \
                oTime));                                                                           \
        }                                                                                          \
        Clock::write(Clock::shown(iClock), *oTime);                                                \
        return 0;                                                                                  \
    }                                                                                              \
    SCHEDULES_EXPORT int sleep(clockid_t iClock, int iFlags, const type* iTime, type*)             \
    {                                                                                              \
        Thread* me = Scheduler::current();                                                         \
        if (!me)                                                                                   \
        {                                                                                          \
            return 0;                                                                              \
        }                                                                                          \
        SCHEDULES_HERE(*me);                                                                       \
        _sleepUntil((iFlags & TIMER_ABSTIME) != 0 ? Clock::at(iClock, *iTime)                      \
                                                  : Scheduler::now() + Clock::duration(*iTime));   \
        return 0;                                                                                  \
    }

CLOCKS(clock_gettime, clock_nanosleep, timespec)
CLOCKS(__clock_gettime64, __clock_nanosleep_time64, Time64)
#undef CLOCKS

SCHEDULES_EXPORT int nanosleep(const timespec* iTime, timespec* oRest)
{
    return clock_nanosleep(CLOCK_MONOTONIC, 0, iTime, oRest);
}

SCHEDULES_EXPORT int __nanosleep64(const Time64* iTime, Time64* oRest)
{
    return __clock_nanosleep_time64(CLOCK_MONOTONIC, 0, iTime, oRest);
}

SCHEDULES_EXPORT int usleep(useconds_t iMicroseconds)
{
    const timespec time{static_cast<time_t>(iMicroseconds / 1000000),
                        static_cast<long>(iMicroseconds % 1000000) * 1000};
    return clock_nanosleep(CLOCK_MONOTONIC, 0, &time, nullptr);
}

SCHEDULES_EXPORT time_t time(time_t* oTime)
{
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    if (oTime)
    {
        *oTime = now.tv_sec;
    }
    return now.tv_sec;
}
