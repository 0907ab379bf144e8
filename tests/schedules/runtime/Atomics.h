// SPDX-License-Identifier: MIT
// Atomics: atomic operations as switch points, and what they order.
#ifndef IXLAL_SCHEDULES_ATOMICS_H
#define IXLAL_SCHEDULES_ATOMICS_H

#include "Costs.h"
#include "Race.h"
#include "Scheduler.h"

#include <cstdint>

namespace schedules
{
/// Values are sequentially consistent: one thread runs at a time. What happened before follows from
/// the given orders only, so an order that is too weak shows as a race of the data that it should
/// have published.
class Atomics
{
public:
    template <class T>
    static T load(const volatile T* iObject, int iOrder, std::uintptr_t iFrom)
    {
        Thread* me = Scheduler::current();
        if (!me)
        {
            return __atomic_load_n(iObject, __ATOMIC_SEQ_CST);
        }
        const Scheduler::Location location(*me, iFrom);
        Scheduler::point(Op::eLoad, iObject);
        Race::atomicRead(reinterpret_cast<std::uintptr_t>(iObject), sizeof(T), iFrom);
        loaded(*me, iObject, iOrder);
        return *iObject;
    }

    template <class T>
    static void store(volatile T* oObject, T iValue, int iOrder, std::uintptr_t iFrom)
    {
        Thread* me = Scheduler::current();
        if (!me)
        {
            __atomic_store_n(oObject, iValue, __ATOMIC_SEQ_CST);
            return;
        }
        const Scheduler::Location location(*me, iFrom);
        Scheduler::point(Op::eStore, oObject);
        Costs::wrote(*me, reinterpret_cast<std::uintptr_t>(oObject));
        Race::atomicWrite(reinterpret_cast<std::uintptr_t>(oObject), sizeof(T), iFrom);
        stored(*me, oObject, iOrder);
        *oObject = iValue;
    }

    template <class T, class F>
    static T change(volatile T* ioObject, int iOrder, std::uintptr_t iFrom, F iChange)
    {
        Thread* me = Scheduler::current();
        if (!me)
        {
            T old = __atomic_load_n(ioObject, __ATOMIC_SEQ_CST);
            while (!__atomic_compare_exchange_n(ioObject, &old, iChange(old), false,
                                                __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST))
            {
            }
            return old;
        }
        const Scheduler::Location location(*me, iFrom);
        Scheduler::point(Op::eChange, ioObject);
        Costs::changed(*me, reinterpret_cast<std::uintptr_t>(ioObject));
        Race::atomicWrite(reinterpret_cast<std::uintptr_t>(ioObject), sizeof(T), iFrom);
        loaded(*me, ioObject, iOrder);
        changed(*me, ioObject, iOrder);
        const T old = *ioObject;
        *ioObject = iChange(old);
        return old;
    }

    template <class T>
    static bool compare(volatile T* ioObject, T* ioExpected, T iValue, int iOrder, int iFailOrder,
                        std::uintptr_t iFrom)
    {
        Thread* me = Scheduler::current();
        if (!me)
        {
            return __atomic_compare_exchange_n(ioObject, ioExpected, iValue, false,
                                               __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
        }
        const Scheduler::Location location(*me, iFrom);
        Scheduler::point(Op::eChange, ioObject);
        Costs::changed(*me, reinterpret_cast<std::uintptr_t>(ioObject));
        const T old = *ioObject;
        if (old != *ioExpected)
        {
            Race::atomicRead(reinterpret_cast<std::uintptr_t>(ioObject), sizeof(T), iFrom);
            loaded(*me, ioObject, iFailOrder);
            *ioExpected = old;
            return false;
        }
        Race::atomicWrite(reinterpret_cast<std::uintptr_t>(ioObject), sizeof(T), iFrom);
        loaded(*me, ioObject, iOrder);
        changed(*me, ioObject, iOrder);
        *ioObject = iValue;
        return true;
    }

    static void fence(int iOrder, std::uintptr_t iFrom);

    /// What happened before the last release of an object happened before now, and the release.
    static void acquire(const volatile void* iObject);
    static void release(const volatile void* iObject);

private:
    static void loaded(Thread& ioThread, const volatile void* iObject, int iOrder);
    static void stored(Thread& ioThread, const volatile void* iObject, int iOrder);
    static void changed(Thread& ioThread, const volatile void* iObject, int iOrder);
};
} // namespace schedules

#endif
