// SPDX-License-Identifier: MIT
#include "Locks.h"

#include "Costs.h"
#include "Faults.h"
#include "Race.h"
#include "Verdict.h"

#include <cerrno>
#include <climits>

namespace schedules
{
namespace
{
void _acquired(SyncObject& ioLock, Thread& ioMe, unsigned iDepth, bool iTried)
{
    Costs::locked(ioMe);
    ioLock.owner = &ioMe;
    ioLock.depth = iDepth;
    ioMe.clock.join(ioLock.clock);
    Scheduler::locked(ioLock, iTried);
}

void _released(SyncObject& ioLock, Thread& ioMe)
{
    ioLock.clock = ioMe.clock;
    ioMe.tick();
    ioLock.owner = nullptr;
    ioLock.depth = 0;
    Scheduler::unlocked(ioLock);
    Scheduler::wake(Op::eLock, ioLock.address, UINT_MAX);
}
} // namespace

void Locks::use(Op iOp, const volatile void* iObject)
{
    Scheduler::point(iOp, iObject);
    Race::use(iObject);
    Costs::changed(*Scheduler::current(), reinterpret_cast<std::uintptr_t>(iObject));
}

const void* Locks::loader()
{
    static const char sLoader = 0;
    return &sLoader;
}

int Locks::lock(const volatile void* iMutex, bool iRecursive, bool iErrorCheck,
                std::uint64_t iDeadline)
{
    Thread& me = *Scheduler::current();
    use(Op::eLock, iMutex);
    SyncObject& mutex = SyncTable::at(iMutex);
    if (mutex.owner == &me && (iRecursive || iErrorCheck))
    {
        mutex.depth += iRecursive ? 1 : 0;
        return iRecursive ? 0 : EDEADLK;
    }
    if (mutex.canFail && Faults::isNext(FaultPlan::eLock))
    {
        return EAGAIN;
    }
    while (mutex.owner)
    {
        if (!Scheduler::wait(Op::eLock, iMutex, iDeadline) && mutex.owner)
        {
            return ETIMEDOUT;
        }
    }
    _acquired(mutex, me, 1, iDeadline != kNever);
    return 0;
}

int Locks::tryLock(const volatile void* iMutex, bool iRecursive)
{
    Thread& me = *Scheduler::current();
    use(Op::eTryLock, iMutex);
    SyncObject& mutex = SyncTable::at(iMutex);
    if (mutex.owner == &me && iRecursive)
    {
        ++mutex.depth;
        return 0;
    }
    if (mutex.owner)
    {
        return EBUSY;
    }
    _acquired(mutex, me, 1, true);
    return 0;
}

int Locks::unlock(const volatile void* iMutex)
{
    Thread& me = *Scheduler::current();
    use(Op::eUnlock, iMutex);
    SyncObject& mutex = SyncTable::at(iMutex);
    if (mutex.owner != &me)
    {
        Verdict::failAt(Outcome::eMisuse, "a mutex is unlocked by a thread that does not hold it",
                        reinterpret_cast<std::uintptr_t>(iMutex));
    }
    if (--mutex.depth == 0)
    {
        _released(mutex, me);
    }
    return 0;
}

unsigned Locks::release(const volatile void* iMutex)
{
    Thread& me = *Scheduler::current();
    SyncObject& mutex = SyncTable::at(iMutex);
    if (mutex.owner != &me)
    {
        Verdict::failAt(Outcome::eMisuse, "a thread waits with a mutex that it does not hold",
                        reinterpret_cast<std::uintptr_t>(iMutex));
    }
    const unsigned depth = mutex.depth;
    _released(mutex, me);
    return depth;
}

void Locks::reacquire(const volatile void* iMutex, unsigned iDepth)
{
    SyncObject& mutex = SyncTable::at(iMutex);
    while (mutex.owner)
    {
        Scheduler::wait(Op::eLock, iMutex);
    }
    _acquired(mutex, *Scheduler::current(), iDepth, false);
}
} // namespace schedules
