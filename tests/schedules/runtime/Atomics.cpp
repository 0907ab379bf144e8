// SPDX-License-Identifier: MIT
#include "Atomics.h"

namespace schedules
{
namespace
{
bool _acquires(int iOrder)
{
    return iOrder != __ATOMIC_RELAXED && iOrder != __ATOMIC_RELEASE;
}

bool _releases(int iOrder)
{
    return iOrder == __ATOMIC_RELEASE || iOrder == __ATOMIC_ACQ_REL || iOrder == __ATOMIC_SEQ_CST;
}
} // namespace

void Atomics::loaded(Thread& ioThread, const volatile void* iObject, int iOrder)
{
    const SyncObject& object = SyncTable::at(iObject);
    ioThread.acquired.join(object.clock);
    if (_acquires(iOrder))
    {
        ioThread.clock.join(object.clock);
    }
}

// A plain store begins a new release sequence, a change continues the one that is there.
void Atomics::stored(Thread& ioThread, const volatile void* iObject, int iOrder)
{
    SyncTable::at(iObject).clock = ioThread.released;
    changed(ioThread, iObject, iOrder);
}

void Atomics::changed(Thread& ioThread, const volatile void* iObject, int iOrder)
{
    SyncObject& object = SyncTable::at(iObject);
    object.clock.join(ioThread.released);
    if (_releases(iOrder))
    {
        object.clock.join(ioThread.clock);
        ioThread.tick();
    }
}

void Atomics::acquire(const volatile void* iObject)
{
    if (Thread* me = Scheduler::current())
    {
        me->clock.join(SyncTable::at(iObject).clock);
    }
}

void Atomics::release(const volatile void* iObject)
{
    if (Thread* me = Scheduler::current())
    {
        SyncTable::at(iObject).clock.join(me->clock);
        me->tick();
    }
}

void Atomics::fence(int iOrder, std::uintptr_t iFrom)
{
    Thread* me = Scheduler::current();
    if (!me)
    {
        return;
    }
    const Scheduler::Location location(*me, iFrom);
    Scheduler::point(Op::eFence, nullptr);
    if (_acquires(iOrder))
    {
        me->clock.join(me->acquired);
    }
    if (_releases(iOrder))
    {
        me->released = me->clock;
        me->tick();
    }
}
} // namespace schedules
