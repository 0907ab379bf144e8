// SPDX-License-Identifier: MIT
// Mutexes, condition variables, read-write locks and once flags of POSIX.

#include "Clock.h"
#include "Export.h"
#include "Locks.h"
#include "Race.h"

#include <cerrno>
#include <climits>
#include <pthread.h>

using namespace schedules;

namespace
{
bool _isRecursive(const pthread_mutex_t& iMutex)
{
    return (iMutex.__data.__kind & 3) == PTHREAD_MUTEX_RECURSIVE;
}

bool _isErrorCheck(const pthread_mutex_t& iMutex)
{
    return (iMutex.__data.__kind & 3) == PTHREAD_MUTEX_ERRORCHECK;
}

template <class T>
int _timedLock(pthread_mutex_t* ioMutex, clockid_t iClock, const T& iTime)
{
    return Locks::lock(ioMutex, _isRecursive(*ioMutex), _isErrorCheck(*ioMutex),
                       Clock::at(iClock, iTime));
}

int _wait(pthread_cond_t* ioCondition, pthread_mutex_t* ioMutex, std::uint64_t iDeadline)
{
    Locks::use(Op::eWait, ioCondition);
    const unsigned depth = Locks::release(ioMutex);
    const bool woken = Scheduler::wait(Op::eWait, ioCondition, iDeadline);
    Locks::reacquire(ioMutex, depth);
    return woken ? 0 : ETIMEDOUT;
}

template <class T>
int _timedWait(pthread_cond_t* ioCondition, pthread_mutex_t* ioMutex, const T& iTime)
{
    const clockid_t clock = SyncTable::at(ioCondition).monotonic ? CLOCK_MONOTONIC : CLOCK_REALTIME;
    return _wait(ioCondition, ioMutex, Clock::at(clock, iTime));
}

/// Locks a read-write lock. iTake takes it if it is free, and says whether it was.
template <class F>
int _lockShared(pthread_rwlock_t* ioLock, std::uintptr_t iFrom, F iTake)
{
    Thread* me = Scheduler::current();
    if (!me)
    {
        return 0;
    }
    const Scheduler::Location location(*me, iFrom);
    Locks::use(Op::eLock, ioLock);
    SyncObject& lock = SyncTable::at(ioLock);
    while (!iTake(lock, *me))
    {
        Scheduler::wait(Op::eLock, ioLock);
    }
    me->clock.join(lock.clock);
    Scheduler::locked(lock, false);
    return 0;
}

/// The thread initialises the object, which no other may use meanwhile.
SyncObject& _make(const void* oObject, std::uintptr_t iFrom)
{
    Race::write(reinterpret_cast<std::uintptr_t>(oObject), sizeof(int), iFrom);
    const Scheduler::Location location(*Scheduler::current(), iFrom);
    return SyncTable::renew(oObject);
}

int _wake(pthread_cond_t* ioCondition, unsigned iMost)
{
    Locks::use(Op::eWake, ioCondition);
    Scheduler::wake(Op::eWait, ioCondition, iMost);
    return 0;
}
} // namespace

SCHEDULES_EXPORT int pthread_mutex_init(pthread_mutex_t* oMutex,
                                        const pthread_mutexattr_t* iAttributes)
{
    int kind = PTHREAD_MUTEX_NORMAL;
    if (iAttributes)
    {
        pthread_mutexattr_gettype(iAttributes, &kind);
    }
    *oMutex = pthread_mutex_t PTHREAD_MUTEX_INITIALIZER;
    oMutex->__data.__kind = kind;
    if (Scheduler::current())
    {
        _make(oMutex, SCHEDULES_CALLER).canFail = true;
    }
    return 0;
}

SCHEDULES_EXPORT int pthread_mutex_destroy(pthread_mutex_t* ioMutex)
{
    Thread* me = Scheduler::current();
    if (!me)
    {
        return 0;
    }
    SCHEDULES_HERE(*me);
    return SyncTable::at(ioMutex).owner ? EBUSY : 0;
}

SCHEDULES_EXPORT int pthread_mutex_lock(pthread_mutex_t* ioMutex)
{
    Thread* me = Scheduler::current();
    if (!me)
    {
        return 0;
    }
    SCHEDULES_HERE(*me);
    return Locks::lock(ioMutex, _isRecursive(*ioMutex), _isErrorCheck(*ioMutex));
}

SCHEDULES_EXPORT int pthread_mutex_trylock(pthread_mutex_t* ioMutex)
{
    Thread* me = Scheduler::current();
    if (!me)
    {
        return 0;
    }
    SCHEDULES_HERE(*me);
    return Locks::tryLock(ioMutex, _isRecursive(*ioMutex));
}

SCHEDULES_EXPORT int pthread_mutex_unlock(pthread_mutex_t* ioMutex)
{
    Thread* me = Scheduler::current();
    if (!me)
    {
        return 0;
    }
    SCHEDULES_HERE(*me);
    return Locks::unlock(ioMutex);
}

// The names are those that the headers give the functions for 64-bit times.
#define TIMED_LOCKS(timed, clocked, type)                                                          \
    SCHEDULES_EXPORT int timed(pthread_mutex_t* ioMutex, const type* iTime)                        \
    {                                                                                              \
        SCHEDULES_HERE(*Scheduler::current());                                                     \
        return _timedLock(ioMutex, CLOCK_REALTIME, *iTime);                                        \
    }                                                                                              \
    SCHEDULES_EXPORT int clocked(pthread_mutex_t* ioMutex, clockid_t iClock, const type* iTime)    \
    {                                                                                              \
        SCHEDULES_HERE(*Scheduler::current());                                                     \
        return _timedLock(ioMutex, iClock, *iTime);                                                \
    }

TIMED_LOCKS(pthread_mutex_timedlock, pthread_mutex_clocklock, timespec)
TIMED_LOCKS(__pthread_mutex_timedlock64, __pthread_mutex_clocklock64, Time64)
#undef TIMED_LOCKS

SCHEDULES_EXPORT int pthread_cond_init(pthread_cond_t* oCondition,
                                       const pthread_condattr_t* iAttributes)
{
    *oCondition = pthread_cond_t PTHREAD_COND_INITIALIZER;
    if (Scheduler::current())
    {
        clockid_t clock = CLOCK_REALTIME;
        if (iAttributes)
        {
            pthread_condattr_getclock(iAttributes, &clock);
        }
        _make(oCondition, SCHEDULES_CALLER).monotonic = clock == CLOCK_MONOTONIC;
    }
    return 0;
}

SCHEDULES_EXPORT int pthread_cond_destroy(pthread_cond_t*)
{
    return 0;
}

SCHEDULES_EXPORT int pthread_cond_wait(pthread_cond_t* ioCondition, pthread_mutex_t* ioMutex)
{
    SCHEDULES_HERE(*Scheduler::current());
    return _wait(ioCondition, ioMutex, kNever);
}

#define TIMED_WAITS(timed, clocked, type)                                                          \
    SCHEDULES_EXPORT int timed(pthread_cond_t* ioCondition, pthread_mutex_t* ioMutex,              \
                               const type* iTime)                                                  \
    {                                                                                              \
        SCHEDULES_HERE(*Scheduler::current());                                                     \
        return _timedWait(ioCondition, ioMutex, *iTime);                                           \
    }                                                                                              \
    SCHEDULES_EXPORT int clocked(pthread_cond_t* ioCondition, pthread_mutex_t* ioMutex,            \
                                 clockid_t iClock, const type* iTime)                              \
    {                                                                                              \
        SCHEDULES_HERE(*Scheduler::current());                                                     \
        return _wait(ioCondition, ioMutex, Clock::at(iClock, *iTime));                             \
    }

TIMED_WAITS(pthread_cond_timedwait, pthread_cond_clockwait, timespec)
TIMED_WAITS(__pthread_cond_timedwait64, __pthread_cond_clockwait64, Time64)
#undef TIMED_WAITS

SCHEDULES_EXPORT int pthread_cond_signal(pthread_cond_t* ioCondition)
{
    Thread* me = Scheduler::current();
    if (!me)
    {
        return 0;
    }
    SCHEDULES_HERE(*me);
    return _wake(ioCondition, 1);
}

SCHEDULES_EXPORT int pthread_cond_broadcast(pthread_cond_t* ioCondition)
{
    Thread* me = Scheduler::current();
    if (!me)
    {
        return 0;
    }
    SCHEDULES_HERE(*me);
    return _wake(ioCondition, UINT_MAX);
}

// The words of a once flag and of a guard are those of the C and the C++ library: a flag that was
// set before the schedule began counts.
SCHEDULES_EXPORT int pthread_once(pthread_once_t* ioFlag, void (*iFunction)())
{
    constexpr pthread_once_t kDone = 2;
    Thread* me = Scheduler::current();
    if (!me)
    {
        if (*ioFlag != kDone)
        {
            iFunction();
            *ioFlag = kDone;
        }
        return 0;
    }
    SCHEDULES_HERE(*me);
    Scheduler::point(Op::eOnce, ioFlag);
    SyncObject& flag = SyncTable::at(ioFlag);
    while (flag.busy)
    {
        Scheduler::wait(Op::eOnce, ioFlag);
    }
    if (*ioFlag != kDone)
    {
        struct Busy
        {
            SyncObject& flag;
            ~Busy()
            {
                flag.busy = false;
                Scheduler::wake(Op::eOnce, flag.address, UINT_MAX);
            }
        };
        flag.busy = true;
        const Busy busy{flag};
        iFunction();
        *ioFlag = kDone;
        flag.clock = me->clock;
        me->tick();
    }
    me->clock.join(flag.clock);
    return 0;
}

SCHEDULES_EXPORT int __cxa_guard_acquire(unsigned char* ioGuard)
{
    Thread* me = Scheduler::current();
    if (!me)
    {
        return ioGuard[0] == 0;
    }
    SCHEDULES_HERE(*me);
    Scheduler::point(Op::eOnce, ioGuard);
    SyncObject& guard = SyncTable::at(ioGuard);
    while (guard.busy)
    {
        Scheduler::wait(Op::eOnce, ioGuard);
    }
    me->clock.join(guard.clock);
    guard.busy = ioGuard[0] == 0;
    return guard.busy;
}

SCHEDULES_EXPORT void __cxa_guard_abort(unsigned char* ioGuard)
{
    if (Scheduler::current())
    {
        SyncTable::at(ioGuard).busy = false;
        Scheduler::wake(Op::eOnce, ioGuard, UINT_MAX);
    }
}

SCHEDULES_EXPORT void __cxa_guard_release(unsigned char* ioGuard)
{
    ioGuard[0] = 1;
    if (Thread* me = Scheduler::current())
    {
        SyncTable::at(ioGuard).clock = me->clock;
        me->tick();
        __cxa_guard_abort(ioGuard);
    }
}

SCHEDULES_EXPORT int pthread_rwlock_init(pthread_rwlock_t* oLock, const pthread_rwlockattr_t*)
{
    *oLock = pthread_rwlock_t PTHREAD_RWLOCK_INITIALIZER;
    if (Scheduler::current())
    {
        _make(oLock, SCHEDULES_CALLER);
    }
    return 0;
}

SCHEDULES_EXPORT int pthread_rwlock_destroy(pthread_rwlock_t*)
{
    return 0;
}

SCHEDULES_EXPORT int pthread_rwlock_rdlock(pthread_rwlock_t* ioLock)
{
    return _lockShared(ioLock, SCHEDULES_CALLER,
                       [](SyncObject& ioShared, Thread&)
                       {
                           ioShared.readers += ioShared.owner ? 0 : 1;
                           return !ioShared.owner;
                       });
}

SCHEDULES_EXPORT int pthread_rwlock_wrlock(pthread_rwlock_t* ioLock)
{
    return _lockShared(ioLock, SCHEDULES_CALLER,
                       [](SyncObject& ioShared, Thread& ioMe)
                       {
                           const bool isFree = !ioShared.owner && ioShared.readers == 0;
                           ioShared.owner = isFree ? &ioMe : ioShared.owner;
                           return isFree;
                       });
}

SCHEDULES_EXPORT int pthread_rwlock_unlock(pthread_rwlock_t* ioLock)
{
    Thread* me = Scheduler::current();
    if (!me)
    {
        return 0;
    }
    SCHEDULES_HERE(*me);
    Locks::use(Op::eUnlock, ioLock);
    SyncObject& lock = SyncTable::at(ioLock);
    if (lock.owner == me)
    {
        lock.owner = nullptr;
    }
    else
    {
        --lock.readers;
    }
    lock.clock.join(me->clock);
    me->tick();
    Scheduler::unlocked(lock);
    Scheduler::wake(Op::eLock, ioLock, UINT_MAX);
    return 0;
}
