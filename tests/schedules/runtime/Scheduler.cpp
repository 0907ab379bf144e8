// SPDX-License-Identifier: MIT
#include "Scheduler.h"

#include "LockOrder.h"
#include "Memory.h"
#include "Race.h"
#include "Random.h"
#include "Raw.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <linux/futex.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace schedules
{
namespace
{
constexpr std::uint32_t kMostPoints = 200000; ///< a schedule that makes more has no end
constexpr std::uint32_t kFairAfter = 40000;   ///< from then on a spinning thread starves no other
constexpr unsigned kMostChanges = 8;
constexpr unsigned kDueEvery = 8; ///< a thread whose time has come runs once in so many points

thread_local Thread* tMe __attribute__((tls_model("initial-exec")));

Thread sThreads[kMaxThreads - 1];
unsigned sThreadCount;
Report* sReport;
Method sMethod;
unsigned sJumpEvery;
bool sExplain;
bool sListChoices;
bool sEnding;
FaultPlan sFault;
Random sRandom;
std::uint64_t sNow;
std::uint64_t sWaited;
std::uint64_t sTimeLimit;
std::int64_t sLowest;
std::uint32_t sChanges[kMostChanges];
unsigned sChangeCount;
const Decision* sReplay;
std::size_t sReplayCount;

bool _isSet(std::uint32_t iSet, unsigned iThread)
{
    return (iSet >> iThread & 1) != 0;
}

unsigned _lowest(std::uint32_t iSet)
{
    return static_cast<unsigned>(__builtin_ctz(iSet));
}

Thread& _nth(std::uint32_t iSet, unsigned iIndex)
{
    for (; iIndex > 0; --iIndex)
    {
        iSet &= iSet - 1;
    }
    return sThreads[_lowest(iSet)];
}

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

/// The replayed decision at this choice, or null.
const Decision* _replayed(const Thread& iThread, bool iJump)
{
    for (std::size_t i = 0; i < sReplayCount; ++i)
    {
        const Decision& decision = sReplay[i];
        if (decision.thread == iThread.id && decision.choice == iThread.choices &&
            (decision.next == Decision::kJump) == iJump)
        {
            return &decision;
        }
    }
    return nullptr;
}
} // namespace

Thread* Scheduler::current()
{
    return tMe;
}

void Scheduler::begin(const Plan& iPlan, Report& oReport)
{
    sReport = &oReport;
    sMethod = iPlan.method;
    sJumpEvery = iPlan.jumpEvery;
    sExplain = iPlan.explain;
    sListChoices = iPlan.listChoices;
    sFault = iPlan.fault;
    sRandom = Random(iPlan.seed);
    sReplay = iPlan.decisions.data();
    sReplayCount = iPlan.decisions.size();
    sTimeLimit = kNever;
    Race::enable(iPlan.races);
    Race::watch(iPlan.watch);
    sChangeCount = std::min(iPlan.depth > 0 ? iPlan.depth - 1 : 0, kMostChanges);
    for (unsigned i = 0; i < sChangeCount; ++i)
    {
        sChanges[i] = 1 + sRandom.below(std::max(iPlan.contended, 1u));
    }
    Thread* first = add(nullptr, nullptr);
    first->handle = pthread_self();
    first->clock.times[0] = 1;
    tMe = first;
}

Thread* Scheduler::add(void* (*iStart)(void*), void* iArgument)
{
    if (sThreadCount == std::size(sThreads))
    {
        return nullptr;
    }
    Thread& thread = sThreads[sThreadCount];
    thread.id = sThreadCount++;
    thread.state = Thread::eReady;
    thread.start = iStart;
    thread.argument = iArgument;
    thread.deadline = kNever;
    thread.descriptor = -1;
    thread.priority = 1 + static_cast<std::int64_t>(sRandom.below(1u << 30));
    if (tMe)
    {
        thread.clock = tMe->clock;
        tMe->tick();
    }
    thread.clock.times[thread.id] = 1;
    sReport->threads = sThreadCount;
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
    note(ioThread, Op::eEnd, 0);
    ioThread.state = Thread::eEnded;
    ioThread.finishing = true;
    if (ioThread.lockCount > 0)
    {
        failAt(Outcome::eMisuse, "a thread ends with a lock that it holds",
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
    for (unsigned i = 0; child != 0 && i < sThreadCount; ++i)
    {
        sThreads[i].state = states[i];
    }
    return child;
}

void Scheduler::point(Op iOp, const volatile void* iObject)
{
    Thread& me = *tMe;
    if (sEnding || me.finishing)
    {
        return;
    }
    if (++sReport->points > kMostPoints)
    {
        fail(Outcome::eNoEnd, "the schedule has no end");
    }
    SyncTable::at(iObject ? iObject : &sThreads).users |= 1u << me.id;
    me.repeated = _isSameAgain(me, iOp, iObject) ? me.repeated + 1 : 0;
    me.last = iOp == Op::eYield ? me.last : iObject;
    if (me.isSpinning())
    {
        me.priority = --sLowest;
    }
    note(me, iOp, reinterpret_cast<std::uintptr_t>(iObject));
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
    me.state = Thread::eBlocked;
    me.waits = iWaits;
    me.object = const_cast<const void*>(iObject);
    me.deadline = iDeadline;
    me.since = sReport->points;
    me.timedOut = false;
    note(me, iWaits, reinterpret_cast<std::uintptr_t>(iObject));
    switchFrom(me, false, iWaits, iObject);
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
    next->timedOut = true;
    next->state = Thread::eReady;
    return true;
}

/// Whether the time of a waiting thread has come. It may run although others can, too.
bool Scheduler::isDue()
{
    const Thread* next = nextDeadline();
    return next && next->deadline <= sNow;
}

bool Scheduler::wantsJump()
{
    return (sJumpEvery != 0 && sRandom.below(sJumpEvery) == 0) ||
           (isDue() && sRandom.below(kDueEvery) == 0);
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
void Scheduler::waitForEvents(Thread&)
{
    if (pollDescriptors())
    {
        return;
    }
    const std::uint64_t before = sNow;
    if (!jump())
    {
        deadlock();
    }
    sWaited += sNow - before;
    if (sWaited > sTimeLimit)
    {
        fail(Outcome::eTooSlow, "all threads wait, for longer in all than the scenario allows: a "
                                "notification is missing");
    }
}

void Scheduler::takeReplayedJumps(const Thread& iThread)
{
    if (_replayed(iThread, true) && jump())
    {
        decided(iThread, Decision::kJump);
    }
}

Thread& Scheduler::choose(Thread& ioThread, bool iCanGoOn, Op iOp, const volatile void* iObject)
{
    ++ioThread.choices;
    if (sMethod == Method::eReplay)
    {
        takeReplayedJumps(ioThread);
    }
    else if (wantsJump() && jump())
    {
        decided(ioThread, Decision::kJump);
    }
    pollDescriptors();
    std::uint32_t ready = readyThreads();
    while (ready == 0)
    {
        waitForEvents(ioThread);
        ready = readyThreads();
    }
    if ((ready & (ready - 1)) != 0)
    {
        ++sReport->contended;
    }
    if (sListChoices)
    {
        listChoice(ioThread, iCanGoOn, ready, iOp, iObject);
    }
    Thread& next = pick(ioThread, iCanGoOn, ready);
    if (next.id != usual(ioThread, iCanGoOn, ready))
    {
        decided(ioThread, next.id);
    }
    return next;
}

/// Who runs by default: the thread itself, or the first that can run when it waits or spins.
unsigned Scheduler::usual(const Thread& iThread, bool iCanGoOn, std::uint32_t iReady)
{
    if (iCanGoOn && !iThread.isSpinning())
    {
        return iThread.id;
    }
    const std::uint32_t others = iReady & ~(1u << iThread.id);
    return _lowest(others != 0 ? others : iReady);
}

Thread& Scheduler::pick(Thread& ioThread, bool iCanGoOn, std::uint32_t iReady)
{
    const unsigned count = static_cast<unsigned>(__builtin_popcount(iReady));
    if (sMethod == Method::eReplay)
    {
        const Decision* decision = _replayed(ioThread, false);
        return sThreads[decision && _isSet(iReady, decision->next)
                            ? decision->next
                            : usual(ioThread, iCanGoOn, iReady)];
    }
    if (sMethod == Method::ePct && sReport->points < kFairAfter)
    {
        return pickByPriority(ioThread, iReady);
    }
    if (iCanGoOn && !ioThread.isSpinning() && sRandom.below(20) != 0)
    {
        return ioThread;
    }
    return _nth(iReady, sRandom.below(count));
}

Thread& Scheduler::pickByPriority(Thread& ioThread, std::uint32_t iReady)
{
    for (unsigned i = 0; i < sChangeCount; ++i)
    {
        if (sChanges[i] == sReport->contended)
        {
            ioThread.priority = -static_cast<std::int64_t>(i) - 1 + sLowest;
            sLowest = std::min(sLowest, ioThread.priority);
            sChanges[i] = 0;
        }
    }
    Thread* best = &sThreads[_lowest(iReady)];
    for (unsigned i = 0; i < sThreadCount; ++i)
    {
        if (_isSet(iReady, i) && sThreads[i].priority > best->priority)
        {
            best = &sThreads[i];
        }
    }
    return *best;
}

void Scheduler::decided(const Thread& iThread, std::uint32_t iNext)
{
    if (sReport->decisionCount < Report::kDecisions)
    {
        sReport->decisions[sReport->decisionCount++] = Decision{iThread.id, iThread.choices, iNext};
    }
}

void Scheduler::listChoice(const Thread& iThread, bool iCanGoOn, std::uint32_t iReady, Op iOp,
                           const volatile void* iObject)
{
    const bool canJump = (sJumpEvery != 0 && nextDeadline() != nullptr) || isDue();
    if ((iReady & (iReady - 1)) == 0 && !canJump)
    {
        return;
    }
    if (sReport->choiceCount == Report::kChoices)
    {
        fail(Outcome::eNoEnd, "too many choices for an exhaustive search");
    }
    sReport->choices[sReport->choiceCount++] =
        Choice{iThread.id,
               iThread.choices,
               iReady,
               usual(iThread, iCanGoOn, iReady),
               iCanGoOn,
               canJump,
               iOp,
               static_cast<std::uint8_t>(std::min(sReport->decisionCount, 255u)),
               reinterpret_cast<std::uintptr_t>(iObject)};
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

std::uint64_t Scheduler::now()
{
    return sNow;
}

void Scheduler::limitTime(std::uint64_t iNanoseconds)
{
    sTimeLimit = iNanoseconds;
}

bool Scheduler::isFault(FaultPlan::Kind iKind)
{
    if (!tMe || sEnding || tMe->finishing || tMe->reliable > 0)
    {
        return false;
    }
    const std::uint32_t index = ++sReport->faultsSeen[iKind - 1];
    return sFault.kind == iKind && sFault.index == index;
}

bool Scheduler::hasFault()
{
    return sFault.kind != FaultPlan::eNone;
}

void Scheduler::locked(SyncObject& ioLock, bool iTried)
{
    Thread& me = *tMe;
    if (!iTried)
    {
        if (const void* other = LockOrder::add(me, ioLock))
        {
            nameObject(reinterpret_cast<std::uintptr_t>(other));
            failAt(Outcome::eLockOrder,
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

void Scheduler::calls(std::uintptr_t* oCalls, unsigned iCount)
{
    const Thread& me = *tMe;
    unsigned depth = std::min(me.depth, Thread::kDepth);
    unsigned i = 0;
    while (i + 1 < iCount && depth > 0)
    {
        oCalls[i++] = me.calls[--depth];
    }
    oCalls[i] = 0;
}

void Scheduler::note(const Thread& iThread, Op iOp, std::uintptr_t iObject)
{
    if (!sExplain || sReport->eventCount == Report::kEvents)
    {
        return;
    }
    Event& event = sReport->events[sReport->eventCount++];
    event.thread = static_cast<std::uint8_t>(iThread.id);
    event.op = iOp;
    event.choice = iThread.choices;
    event.object = iObject;
    calls(event.calls, Event::kCalls);
}

void Scheduler::dump(const Thread& iThread, const char* iLabel)
{
    if (sReport->stackCount == Report::kStacks)
    {
        return;
    }
    StackDump& stack = sReport->stacks[sReport->stackCount++];
    stack.thread = static_cast<std::uint8_t>(iThread.id);
    std::snprintf(stack.label, sizeof(stack.label), "%s", iLabel);
    unsigned depth = std::min(iThread.depth, Thread::kDepth);
    for (unsigned i = 0; i + 1 < StackDump::kCalls && depth > 0; ++i)
    {
        stack.calls[i] = iThread.calls[--depth];
    }
}

void Scheduler::nameObject(std::uintptr_t iObject)
{
    const SyncObject* object = SyncTable::find(reinterpret_cast<void*>(iObject));
    if (!object || sReport->objectCount == Report::kObjects)
    {
        return;
    }
    NamedObject& named = sReport->objects[sReport->objectCount++];
    named.object = iObject;
    std::copy(std::begin(object->made), std::end(object->made), named.calls);
}

void Scheduler::deadlock()
{
    sEnding = true;
    for (unsigned i = 0; i < sThreadCount; ++i)
    {
        const Thread& thread = sThreads[i];
        if (thread.state != Thread::eBlocked)
        {
            continue;
        }
        char label[160];
        const SyncObject* object = SyncTable::find(thread.object);
        if (object && object->owner)
        {
            std::snprintf(label, sizeof(label), "%s %p, which thread %u holds",
                          thread.waits == Op::eLock ? "waits for the lock" : opName(thread.waits),
                          thread.object, object->owner->id);
        }
        else
        {
            std::snprintf(label, sizeof(label), "%s %p without a deadline", opName(thread.waits),
                          thread.object);
        }
        nameObject(reinterpret_cast<std::uintptr_t>(thread.object));
        dump(thread, label);
    }
    std::snprintf(sReport->message, sizeof(sReport->message),
                  "deadlock: no thread can run, and none waits for a deadline");
    end(Outcome::eDeadlock);
}

void Scheduler::fail(Outcome iOutcome, const char* iMessage)
{
    failAt(iOutcome, iMessage, 0);
}

void Scheduler::failAt(Outcome iOutcome, const char* iMessage, std::uintptr_t iObject)
{
    if (sEnding)
    {
        _exit(1);
    }
    sEnding = true;
    std::snprintf(sReport->message, sizeof(sReport->message), "%s", iMessage);
    if (iObject != 0)
    {
        sReport->watched = iObject;
        nameObject(iObject);
    }
    if (tMe)
    {
        dump(*tMe, "fails here");
        for (unsigned i = 0; i < tMe->lockCount; ++i)
        {
            nameObject(reinterpret_cast<std::uintptr_t>(tMe->locks[i]));
        }
    }
    for (unsigned i = 0; i < sThreadCount; ++i)
    {
        const Thread& thread = sThreads[i];
        if (&thread != tMe && (thread.state == Thread::eReady || thread.state == Thread::eBlocked))
        {
            char label[160];
            std::snprintf(label, sizeof(label), "%s",
                          thread.state == Thread::eReady ? "can run" : opName(thread.waits));
            dump(thread, label);
        }
    }
    end(iOutcome);
}

void Scheduler::pass()
{
    sEnding = true;
    if (sListChoices)
    {
        SyncTable::each(
            [](const SyncObject& iObject)
            {
                if ((iObject.users & (iObject.users - 1)) != 0 &&
                    sReport->sharedCount < Report::kShared)
                {
                    sReport->shared[sReport->sharedCount++] =
                        reinterpret_cast<std::uintptr_t>(iObject.address);
                }
            });
    }
    end(Outcome::ePassed);
}

void Scheduler::end(Outcome iOutcome)
{
    if (iOutcome != Outcome::ePassed || sExplain)
    {
        const int maps =
            static_cast<int>(Raw::get().syscall(SYS_open, "/proc/self/maps", O_RDONLY | O_CLOEXEC));
        std::size_t length = 0;
        long got = 0;
        while (length + 1 < sizeof(sReport->maps) &&
               (got = Raw::get().syscall(SYS_read, maps, sReport->maps + length,
                                         sizeof(sReport->maps) - 1 - length)) > 0)
        {
            length += static_cast<std::size_t>(got);
        }
    }
    sReport->virtualTime = sNow;
    sReport->outcome = iOutcome;
    _exit(iOutcome == Outcome::ePassed ? 0 : 1);
}
} // namespace schedules
