// SPDX-License-Identifier: MIT
#include "../Scenario.h"

#include "Faults.h"
#include "Locks.h"
#include "Scheduler.h"
#include "ScratchDir.h"
#include "Verdict.h"

#include <cstdio>

namespace schedules
{
namespace
{
const Scenario* sFirst;
}

Scenario::Scenario(const char* iName, void (*iRun)(), const Allowed& iAllowed)
    : fName(iName), fRun(iRun), fAllowed(iAllowed), fNext(sFirst)
{
    sFirst = this;
}

const Scenario* Scenario::first()
{
    return sFirst;
}

void require(bool iCondition, const char* iText)
{
    if (!iCondition)
    {
        Verdict::fail(Outcome::eAssertion, iText);
    }
}

void requireEqual(long long iExpected, long long iActual, const char* iText)
{
    if (iExpected != iActual)
    {
        char text[400];
        std::snprintf(text, sizeof(text), "%s: %lld instead of %lld", iText, iActual, iExpected);
        Verdict::fail(Outcome::eAssertion, text);
    }
}

void requireNoLocks(const char* iWhere)
{
    const Thread& me = *Scheduler::current();
    for (unsigned i = 0; i < me.lockCount; ++i)
    {
        if (me.locks[i] != Locks::loader())
        {
            char text[300];
            std::snprintf(text, sizeof(text), "a lock is held in %s", iWhere);
            Verdict::failAt(Outcome::eLockHeld, text,
                            reinterpret_cast<std::uintptr_t>(me.locks[i]));
        }
    }
}

bool hasFault()
{
    return Faults::isPlanned();
}

Reliable::Reliable()
{
    ++Scheduler::current()->reliable;
}

Reliable::~Reliable()
{
    --Scheduler::current()->reliable;
}

std::uint64_t nanoseconds()
{
    return Scheduler::now();
}

const char* directory()
{
    return ScratchDir::path();
}
} // namespace schedules
