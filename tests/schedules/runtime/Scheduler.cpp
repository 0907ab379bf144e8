// SPDX-License-Identifier: MIT
#include "Scheduler.h"

#include "Faults.h"
#include "LockOrder.h"
#include "Race.h"
#include "Raw.h"
#include "Steps.h"
#include "Strategy.h"
#include "Verdict.h"

#include <algorithm>
#include <climits>
#include <linux/futex.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace schedules
{
namespace
{
constexpr std::uint32_t kMostPoints = 200000; ///< a schedule that makes more has no end
thread_local Thread* tMe __attribute__((tls_model("initial-exec")));

Thread sThreads[kMaxThreads - 1];
unsigned sThreadCount;
unsigned sAlive;
std::uint64_t sNow;
pid_t sProcess;
std::uint64_t sWaited; ///< the time for which no thread could run
std::uint64_t sTimeLimit;

/// Whether an operation may be one more of a loop that spins.
bool _isSameAgain(const Thread& iThread, Op iOp, const volatile void* iObject)
{
    switch (iOp)
    {
    case Op::eYield:
        return true;
    case Op::eLoad:
    case Op::eChange:
    case Op::eTryLock:
        return iObject == iThread.last;
    default:
        return false;
    }
}
} // namespace

Thread* Scheduler::current()
{
    return tMe;
}

Thread& Scheduler::thread(unsigned iNumber)
{
    return sThreads[iNumber];
}

unsigned Scheduler::count()
{
    return sThreadCount;
}

void Scheduler::begin(const Plan& iPlan, Report& oReport)
{
    Verdict::begin(oReport);
    sProcess = getpid();
    Thread* first = add(nullptr, nullptr);
    first->handle = pthread_self();
    first->clock.times[0] = 1;
    sTimeLimit = kNever;
    replan(iPlan, iPlan.decisions.data(), iPlan.decisions.size());
    tMe = first;
}

void Scheduler::replan(const PlanBasics& iPlan, const Decision* iDecisions, std::size_t iCount)
{
    Verdict::plan(iPlan);
    Strategy::begin(iPlan, iDecisions, iCount);
    Faults::begin(iPlan);
    Race::enable(iPlan.races);
    Race::watch(iPlan.watch);
    Strategy::added(sThreads[0]);
}

Thread* Scheduler::add(void* (*iStart)(void*), void* iArgument)
{
    if (sThreadCount == std::size(sThreads))
    {
        return nullptr;
    }
    Thread& thread = sThreads[sThreadCount];
    thread.id = sThreadCount++;
    ++sAlive;
    thread.state = Thread::eReady;
    thread.start = iStart;
    thread.argument = iArgument;
    thread.deadline = kNever;
    thread.descriptor = -1;
    Strategy::added(thread);
    if (tMe)
    {
        thread.clock = tMe->clock;
        tMe->tick();
    }
    thread.clock.times[thread.id] = 1;
    Verdict::report().counts.threads = sThreadCount;
    return &thread;
}

Thread* Scheduler::find(pthread_t iHandle)
{
    for (unsigned i = 0; i < sThreadCount; ++i)
    {
        if (sThreads[i].state != Thread::eUnused && pthread_equal(sThreads[i].handle, iHandle))
        {
            return &sThreads[i];
        }
    }
    return nullptr;
}

void Scheduler::notStarted(Thread& ioThread)
{
    --sAlive;
    forget(ioThread);
}

void Scheduler::forget(Thread& ioThread)
{
    ioThread.state = Thread::eUnused;
}

void Scheduler::enter(Thread& ioThread)
{
    tMe = &ioThread;
    await(ioThread);
}

void Scheduler::leave(Thread& ioThread)
{
    Verdict::note(ioThread, Op::eEnd, 0);
    ioThread.state = Thread::eEnded;
    ioThread.finishing = true;
    --sAlive;
    if (ioThread.lockCount > 0)
    {
        Verdict::failAt(Outcome::eMisuse, "a thread ends with a lock that it holds",
                        reinterpret_cast<std::uintptr_t>(ioThread.locks[0]));
    }
    wake(Op::eJoin, &ioThread, UINT_MAX);
    if (ioThread.detached)
    {
        forget(ioThread);
    }
    handOver(choose(ioThread, false, Op::eEnd, nullptr));
}

pid_t Scheduler::fork()
{
    // The handlers of the fork run as switch points, where the child has no other thread.
    Thread::State states[kMaxThreads];
    for (unsigned i = 0; i < sThreadCount; ++i)
    {
        states[i] = sThreads[i].state;
        if (&sThreads[i] != tMe)
        {
            sThreads[i].state = Thread::eUnused;
        }
    }
    const pid_t child = Raw::get().fork();
    if (child == 0)
    {
        sProcess = static_cast<pid_t>(Raw::get().syscall(SYS_getpid));
        sAlive = 1;
        Steps::leave();
    }
    for (unsigned i = 0; child != 0 && i < sThreadCount; ++i)
    {
        sThreads[i].state = states[i];
    }
    return child;
}

void Scheduler::point(Op iOp, const volatile void* iObject)
{
    Thread& me = *tMe;
    if (Verdict::isGiven() || me.finishing)
    {
        return;
    }
    if (++Verdict::report().counts.points > kMostPoints)
    {
        Verdict::fail(Outcome::eNoEnd, "the schedule has no end");
    }
    if (iObject && sAlive > 1)
    {
        SyncObject& object = SyncTable::at(iObject);
        object.users |= 1u << me.id;
        object.changers |= iOp == Op::eLoad ? 0 : 1u << me.id;
    }
    me.repeated = _isSameAgain(me, iOp, iObject) ? me.repeated + 1 : 0;
    me.last = iOp == Op::eYield ? me.last : iObject;
    if (me.isSpinning())
    {
        Strategy::spins(me);
    }
    Verdict::note(me, iOp, reinterpret_cast<std::uintptr_t>(iObject));
    switchFrom(me, true, iOp, iObject);
}

void Scheduler::switchFrom(Thread& ioThread, bool iCanGoOn, Op iOp, const volatile void* iObject)
{
    Thread& next = choose(ioThread, iCanGoOn, iOp, iObject);
    if (&next != &ioThread)
    {
        handOver(next);
        await(ioThread);
    }
}

bool Scheduler::wait(Op iWaits, const volatile void* iObject, std::uint64_t iDeadline)
{
    Thread& me = *tMe;
    if (me.finishing)
    {
        return true;
    }
    const bool isDue = iDeadline <= sNow;
    me.state = isDue ? Thread::eReady : Thread::eBlocked;
    me.waits = iWaits;
    me.object = const_cast<const void*>(iObject);
    me.deadline = iDeadline;
    me.since = Verdict::report().counts.points;
    me.timedOut = isDue;
    Verdict::note(me, iWaits, reinterpret_cast<std::uintptr_t>(iObject));
    switchFrom(me, isDue, iWaits, iObject);
    me.waits = Op::eNone;
    me.deadline = kNever;
    return !me.timedOut;
}

void Scheduler::waitToRead(int iDescriptor)
{
    tMe->descriptor = iDescriptor;
    wait(Op::eRead, nullptr);
    tMe->descriptor = -1;
}

unsigned Scheduler::wake(Op iWaits, const volatile void* iObject, unsigned iMost)
{
    unsigned woken = 0;
    while (woken < iMost)
    {
        Thread* first = nullptr;
        for (unsigned i = 0; i < sThreadCount; ++i)
        {
            Thread& thread = sThreads[i];
            if (thread.state == Thread::eBlocked && thread.waits == iWaits &&
                thread.object == iObject && (!first || thread.since < first->since))
            {
                first = &thread;
            }
        }
        if (!first)
        {
            break;
        }
        first->state = Thread::eReady;
        ++woken;
    }
    return woken;
}

std::uint32_t Scheduler::readyThreads()
{
    std::uint32_t ready = 0;
    for (unsigned i = 0; i < sThreadCount; ++i)
    {
        if (sThreads[i].state == Thread::eReady)
        {
            ready |= 1u << i;
        }
    }
    return ready;
}

Thread* Scheduler::nextDeadline()
{
    Thread* next = nullptr;
    for (unsigned i = 0; i < sThreadCount; ++i)
    {
        Thread& thread = sThreads[i];
        if (thread.state == Thread::eBlocked && thread.deadline != kNever &&
            (!next || thread.deadline < next->deadline))
        {
            next = &thread;
        }
    }
    return next;
}

/// Moves time to the earliest deadline. False when no thread waits for one.
bool Scheduler::jump()
{
    Thread* next = nextDeadline();
    if (!next)
    {
        return false;
    }
    sNow = std::max(sNow, next->deadline);
    for (Thread& thread : sThreads)
    {
        if (thread.state == Thread::eBlocked && thread.deadline <= sNow)
        {
            thread.timedOut = true;
            thread.state = Thread::eReady;
        }
    }
    return true;
}

bool Scheduler::pollDescriptors()
{
    bool found = false;
    for (unsigned i = 0; i < sThreadCount; ++i)
    {
        Thread& thread = sThreads[i];
        if (thread.state == Thread::eBlocked && thread.waits == Op::eRead)
        {
            pollfd descriptor{thread.descriptor, POLLIN, 0};
            if (poll(&descriptor, 1, 0) != 0)
            {
                thread.state = Thread::eReady;
                found = true;
            }
        }
    }
    return found;
}

/// No thread can run: time moves, or there is a deadlock.
void Scheduler::waitForEvents()
{
    if (pollDescriptors())
    {
        return;
    }
    const std::uint64_t before = sNow;
    if (!jump())
    {
        Verdict::deadlock();
    }
    sWaited += sNow - before;
    if (sWaited > sTimeLimit)
    {
        Verdict::fail(Outcome::eTooSlow,
                      "all threads wait, for longer in all than the scenario allows: a "
                      "notification is missing");
    }
}

Thread& Scheduler::choose(Thread& ioThread, bool iCanGoOn, Op iOp, const volatile void* iObject)
{
    ++ioThread.choices;
    if (nextDeadline() && Strategy::isJump(ioThread) && jump())
    {
        Strategy::jumped(ioThread);
    }
    pollDescriptors();
    std::uint32_t ready = readyThreads();
    while (ready == 0)
    {
        waitForEvents();
        ready = readyThreads();
    }
    const bool canJump = nextDeadline() != nullptr;
    return sThreads[Strategy::next(ioThread, iCanGoOn, canJump, ready, iOp, iObject)];
}

void Scheduler::handOver(Thread& ioTo)
{
    __atomic_store_n(&ioTo.go, 1, __ATOMIC_SEQ_CST);
    Raw::get().syscall(SYS_futex, &ioTo.go, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
}

void Scheduler::await(Thread& ioThread)
{
    while (__atomic_load_n(&ioThread.go, __ATOMIC_SEQ_CST) == 0)
    {
        Raw::get().syscall(SYS_futex, &ioThread.go, FUTEX_WAIT_PRIVATE, 0, nullptr, nullptr, 0);
    }
    ioThread.go = 0;
}

pid_t Scheduler::process()
{
    return sProcess;
}

std::uint64_t Scheduler::now()
{
    return sNow;
}

void Scheduler::limitTime(std::uint64_t iNanoseconds)
{
    sTimeLimit = iNanoseconds;
}

void Scheduler::locked(SyncObject& ioLock, bool iTried)
{
    Thread& me = *tMe;
    if (!iTried)
    {
        if (const void* other = LockOrder::add(me, ioLock))
        {
            Verdict::nameObject(reinterpret_cast<std::uintptr_t>(other));
            Verdict::failAt(Outcome::eLockOrder,
                            "two locks are taken in both orders by the threads of this schedule",
                            reinterpret_cast<std::uintptr_t>(ioLock.address));
        }
    }
    if (me.lockCount < Thread::kLocks)
    {
        me.locks[me.lockCount++] = ioLock.address;
    }
}

void Scheduler::unlocked(const SyncObject& iLock)
{
    Thread& me = *tMe;
    for (unsigned i = me.lockCount; i > 0; --i)
    {
        if (me.locks[i - 1] == iLock.address)
        {
            std::copy(me.locks + i, me.locks + me.lockCount, me.locks + i - 1);
            --me.lockCount;
            return;
        }
    }
}
} // namespace schedules
