// SPDX-License-Identifier: MIT
#include "Verdict.h"

#include "Raw.h"
#include "Scheduler.h"
#include "SyncTable.h"

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace schedules
{
namespace
{
Report* sReport;
bool sExplain;
bool sListShared;
bool sGiven;
} // namespace

void Verdict::begin(Report& oReport)
{
    sReport = &oReport;
}

void Verdict::plan(const PlanBasics& iPlan)
{
    sExplain = iPlan.explain;
    sListShared = iPlan.listChoices;
}

Report& Verdict::report()
{
    return *sReport;
}

bool Verdict::isGiven()
{
    return sGiven;
}

void Verdict::calls(std::uintptr_t* oCalls, unsigned iCount)
{
    const Thread& me = *Scheduler::current();
    unsigned depth = std::min(me.depth, Thread::kDepth);
    unsigned i = 0;
    while (i + 1 < iCount && depth > 0)
    {
        oCalls[i++] = me.calls[--depth];
    }
    oCalls[i] = 0;
}

void Verdict::note(const Thread& iThread, Op iOp, std::uintptr_t iObject)
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

void Verdict::dump(const Thread& iThread, const char* iLabel)
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

void Verdict::dumpOthers()
{
    Scheduler::each(
        [](const Thread& iThread)
        {
            if (&iThread == Scheduler::current())
            {
                return;
            }
            if (iThread.state == Thread::eReady)
            {
                dump(iThread, "can run");
            }
            else if (iThread.state == Thread::eBlocked)
            {
                dump(iThread, opName(iThread.waits));
            }
        });
}

void Verdict::dumpBlocked(const Thread& iThread)
{
    char label[sizeof(StackDump::label)];
    const SyncObject* object = SyncTable::find(iThread.object);
    if (object && object->owner)
    {
        std::snprintf(label, sizeof(label), "waits for the lock %p, which thread %u holds",
                      iThread.object, object->owner->id);
    }
    else
    {
        std::snprintf(label, sizeof(label), "%s %p without a deadline", opName(iThread.waits),
                      iThread.object);
    }
    nameObject(reinterpret_cast<std::uintptr_t>(iThread.object));
    dump(iThread, label);
}

void Verdict::nameObject(std::uintptr_t iObject)
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

void Verdict::deadlock()
{
    sGiven = true;
    Scheduler::each(
        [](const Thread& iThread)
        {
            if (iThread.state == Thread::eBlocked)
            {
                dumpBlocked(iThread);
            }
        });
    std::snprintf(sReport->message, sizeof(sReport->message),
                  "no thread can run, and none waits for a deadline");
    end(Outcome::eDeadlock);
}

void Verdict::fail(Outcome iOutcome, const char* iMessage)
{
    failAt(iOutcome, iMessage, 0);
}

void Verdict::failAt(Outcome iOutcome, const char* iMessage, std::uintptr_t iObject)
{
    if (sGiven)
    {
        _exit(1);
    }
    sGiven = true;
    std::snprintf(sReport->message, sizeof(sReport->message), "%s", iMessage);
    if (iObject != 0)
    {
        sReport->watched = iObject;
        nameObject(iObject);
    }
    if (const Thread* me = Scheduler::current())
    {
        dump(*me, "fails here");
        for (unsigned i = 0; i < me->lockCount; ++i)
        {
            nameObject(reinterpret_cast<std::uintptr_t>(me->locks[i]));
        }
    }
    dumpOthers();
    end(iOutcome);
}

/// The objects that more than one thread used, and one changed, for the exhaustive search.
void Verdict::listShared()
{
    SyncTable::each(
        [](const SyncObject& iObject)
        {
            if ((iObject.users & (iObject.users - 1)) != 0 && iObject.changers != 0 &&
                sReport->sharedCount < Report::kShared)
            {
                sReport->shared[sReport->sharedCount++] =
                    reinterpret_cast<std::uintptr_t>(iObject.address);
            }
        });
}

void Verdict::pass()
{
    sGiven = true;
    if (sListShared)
    {
        listShared();
    }
    end(Outcome::ePassed);
}

void Verdict::copyMaps()
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
    sReport->maps[length] = 0;
}

void Verdict::end(Outcome iOutcome)
{
    if (iOutcome != Outcome::ePassed || sExplain)
    {
        copyMaps();
    }
    sReport->virtualTime = Scheduler::now();
    // A forked child may have failed before.
    if (sReport->outcome == Outcome::eNone)
    {
        sReport->outcome = iOutcome;
    }
    _exit(iOutcome == Outcome::ePassed ? 0 : 1);
}
} // namespace schedules
