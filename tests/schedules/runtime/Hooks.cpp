// SPDX-License-Identifier: MIT
// The functions that instrumented code calls: for every access, every atomic operation, and the
// beginning and end of every function.

#include "Atomics.h"
#include "Export.h"
#include "Race.h"

using schedules::Atomics;
using schedules::Race;
using schedules::Scheduler;
using schedules::Thread;

namespace
{
std::uintptr_t _address(const volatile void* iAddress)
{
    return reinterpret_cast<std::uintptr_t>(iAddress);
}
} // namespace

SCHEDULES_EXPORT void __tsan_init()
{
}

SCHEDULES_EXPORT void __tsan_func_entry(void* iCaller)
{
    if (Thread* thread = Scheduler::current())
    {
        if (thread->depth < Thread::kDepth)
        {
            thread->calls[thread->depth] = _address(iCaller);
        }
        ++thread->depth;
    }
}

SCHEDULES_EXPORT void __tsan_func_exit()
{
    if (Thread* thread = Scheduler::current(); thread && thread->depth > 0)
    {
        --thread->depth;
    }
}

#define ACCESS(size)                                                                               \
    SCHEDULES_EXPORT void __tsan_read##size(void* iAddress)                                        \
    {                                                                                              \
        Race::read(_address(iAddress), size, SCHEDULES_CALLER);                                    \
    }                                                                                              \
    SCHEDULES_EXPORT void __tsan_write##size(void* iAddress)                                       \
    {                                                                                              \
        Race::write(_address(iAddress), size, SCHEDULES_CALLER);                                   \
    }                                                                                              \
    SCHEDULES_EXPORT void __tsan_volatile_read##size(void* iAddress)                               \
    {                                                                                              \
        Race::read(_address(iAddress), size, SCHEDULES_CALLER);                                    \
    }                                                                                              \
    SCHEDULES_EXPORT void __tsan_volatile_write##size(void* iAddress)                              \
    {                                                                                              \
        Race::write(_address(iAddress), size, SCHEDULES_CALLER);                                   \
    }

ACCESS(1)
ACCESS(2)
ACCESS(4)
ACCESS(8)
ACCESS(16)
#undef ACCESS

SCHEDULES_EXPORT void __tsan_read_range(void* iAddress, unsigned long iSize)
{
    Race::read(_address(iAddress), iSize, SCHEDULES_CALLER);
}

SCHEDULES_EXPORT void __tsan_write_range(void* iAddress, unsigned long iSize)
{
    Race::write(_address(iAddress), iSize, SCHEDULES_CALLER);
}

SCHEDULES_EXPORT void __tsan_vptr_read(void** iAddress)
{
    Race::read(_address(iAddress), sizeof(void*), SCHEDULES_CALLER);
}

SCHEDULES_EXPORT void __tsan_vptr_update(void** iAddress, void* iNew)
{
    // Constructors and destructors store the table that is there already, beside readers.
    if (*iAddress != iNew)
    {
        Race::write(_address(iAddress), sizeof(void*), SCHEDULES_CALLER);
    }
}

#define ATOMIC_CHANGE(bits, name, result)                                                          \
    SCHEDULES_EXPORT std::uint##bits##_t __tsan_atomic##bits##_##name(                             \
        volatile std::uint##bits##_t* ioObject, std::uint##bits##_t iValue, int iOrder)            \
    {                                                                                              \
        return Atomics::change(ioObject, iOrder, SCHEDULES_CALLER,                                 \
                               [iValue](std::uint##bits##_t iOld)                                  \
                               { return static_cast<std::uint##bits##_t>(result); });              \
    }

#define ATOMIC_COMPARE(bits, name)                                                                 \
    SCHEDULES_EXPORT int __tsan_atomic##bits##_compare_exchange_##name(                            \
        volatile std::uint##bits##_t* ioObject, std::uint##bits##_t* ioExpected,                   \
        std::uint##bits##_t iValue, int iOrder, int iFailOrder)                                    \
    {                                                                                              \
        return Atomics::compare(ioObject, ioExpected, iValue, iOrder, iFailOrder,                  \
                                SCHEDULES_CALLER);                                                 \
    }

#define ATOMIC(bits)                                                                               \
    SCHEDULES_EXPORT std::uint##bits##_t __tsan_atomic##bits##_load(                               \
        const volatile std::uint##bits##_t* iObject, int iOrder)                                   \
    {                                                                                              \
        return Atomics::load(iObject, iOrder, SCHEDULES_CALLER);                                   \
    }                                                                                              \
    SCHEDULES_EXPORT void __tsan_atomic##bits##_store(volatile std::uint##bits##_t* oObject,       \
                                                      std::uint##bits##_t iValue, int iOrder)      \
    {                                                                                              \
        Atomics::store(oObject, iValue, iOrder, SCHEDULES_CALLER);                                 \
    }                                                                                              \
    ATOMIC_CHANGE(bits, exchange, (static_cast<void>(iOld), iValue))                               \
    ATOMIC_CHANGE(bits, fetch_add, iOld + iValue)                                                  \
    ATOMIC_CHANGE(bits, fetch_sub, iOld - iValue)                                                  \
    ATOMIC_CHANGE(bits, fetch_and, iOld& iValue)                                                   \
    ATOMIC_CHANGE(bits, fetch_or, iOld | iValue)                                                   \
    ATOMIC_CHANGE(bits, fetch_xor, iOld ^ iValue)                                                  \
    ATOMIC_CHANGE(bits, fetch_nand, ~(iOld & iValue))                                              \
    ATOMIC_COMPARE(bits, strong)                                                                   \
    ATOMIC_COMPARE(bits, weak)

ATOMIC(8)
ATOMIC(16)
ATOMIC(32)
ATOMIC(64)
#undef ATOMIC

SCHEDULES_EXPORT void __tsan_atomic_thread_fence(int iOrder)
{
    Atomics::fence(iOrder, SCHEDULES_CALLER);
}

SCHEDULES_EXPORT void __tsan_atomic_signal_fence(int)
{
}

// The standard library says where its own small locks, those of atomic shared pointers, are taken.
SCHEDULES_EXPORT void __tsan_mutex_pre_lock(void*, unsigned)
{
}

SCHEDULES_EXPORT void __tsan_mutex_post_lock(void* iLock, unsigned, int)
{
    Atomics::acquire(iLock);
}

SCHEDULES_EXPORT int __tsan_mutex_pre_unlock(void* iLock, unsigned)
{
    Atomics::release(iLock);
    return 0;
}

SCHEDULES_EXPORT void __tsan_mutex_post_unlock(void*, unsigned)
{
}

SCHEDULES_EXPORT void __tsan_mutex_pre_signal(void*, unsigned)
{
}

SCHEDULES_EXPORT void __tsan_mutex_post_signal(void*, unsigned)
{
}

SCHEDULES_EXPORT void __tsan_mutex_destroy(void*, unsigned)
{
}
