// SPDX-License-Identifier: MIT
// Thread: what the runtime knows about one thread of a schedule.
#ifndef IXLAL_SCHEDULES_THREAD_H
#define IXLAL_SCHEDULES_THREAD_H

#include "VectorClock.h"

#include <cstdint>
#include <pthread.h>

namespace schedules
{
struct Changes;

/// What a thread does at a switch point, or waits for.
enum class Op : std::uint8_t
{
    eNone,
    eLoad,
    eStore,
    eChange,
    eFence,
    eLock,
    eTryLock,
    eUnlock,
    eWait,
    eWake,
    eFutexWait,
    eFutexWake,
    eCreate,
    eJoin,
    eSleep,
    eYield,
    eOnce,
    eLoader,
    eFile,
    eRead,
    eFork,
    eEnd
};

/// The name of an operation in a report.
const char* opName(Op iOp);

/// A deadline that never comes.
constexpr std::uint64_t kNever = ~std::uint64_t{0};

/// One thread. Zero-initialised memory is an unused one. Only the thread that holds the baton reads
/// and writes these, but for fGo.
struct Thread
{
    enum State : std::uint8_t
    {
        eUnused,
        eReady,
        eBlocked,
        eEnded
    };

    static constexpr unsigned kDepth = 512;
    static constexpr unsigned kLocks = 32;
    static constexpr unsigned kSpin = 64; ///< more than the standard library spins before it waits

    bool isSpinning() const
    {
        return repeated >= kSpin;
    }

    unsigned id;
    State state;
    bool timedOut; ///< the last wait ended by its deadline
    bool detached;
    unsigned reliable; ///< scopes in which none of its calls fails
    bool finishing;    ///< its code has ended, only destructors of thread-specific data are left
    unsigned rounds;   ///< of these destructors
    Op waits;
    const void* object;     ///< that it waits for
    std::uint64_t deadline; ///< virtual time, or kNever
    std::uint64_t since;    ///< the step at which it began to wait: waiters are woken in this order
    int descriptor;         ///< that it waits to read from

    std::uint32_t choices;     ///< how often it was asked which thread runs next: its own time
    const volatile void* last; ///< object of its last operation
    unsigned repeated;         ///< operations on it without a wait: many are a loop that spins

    pthread_t handle;
    void* (*start)(void*);
    void* argument;
    unsigned char* stackBegin;
    unsigned char* stackEnd;

    VectorClock clock;
    VectorClock acquired; ///< by relaxed loads, for a fence to come
    VectorClock released; ///< by the last release fence

    std::uintptr_t calls[kDepth]; ///< the calls that lead to where it is, innermost last
    unsigned depth;

    const void* locks[kLocks]; ///< that it holds, in order
    unsigned lockCount;

    Changes* changes; ///< counts what it changes, or null

    int go; ///< the baton: 1 when the thread may run

    Epoch epoch() const
    {
        return Epoch(id, clock.times[id]);
    }

    void tick()
    {
        ++clock.times[id];
    }
};
} // namespace schedules

#endif
