// SPDX-License-Identifier: MIT
// Report: what a schedule's process tells its parent, in memory that both share.
#ifndef IXLAL_SCHEDULES_REPORT_H
#define IXLAL_SCHEDULES_REPORT_H

#include "Thread.h"

#include <cstddef>
#include <cstdint>

namespace schedules
{
/// A deviation from the default, which is to continue the running thread, or the first that can run
/// when it blocks. At the choice number iChoice of thread iThread, iNext runs; kJump lets virtual
/// time jump to the next deadline first.
struct Decision
{
    static constexpr std::uint32_t kJump = 255;

    std::uint32_t thread;
    std::uint32_t choice;
    std::uint32_t next;

    bool operator==(const Decision&) const = default;
};

/// A point where more than one thread could run, for the exhaustive search.
struct Choice
{
    std::uint32_t thread;
    std::uint32_t choice;
    std::uint32_t ready;  ///< bit set of the threads that could run
    std::uint32_t usual;  ///< the thread that runs by default
    std::uint8_t canGoOn; ///< whether the thread itself is one of them
    std::uint8_t canJump; ///< whether a thread waits for a deadline
    Op op;
    std::uint8_t decision; ///< number of decisions taken before it
    std::uintptr_t object; ///< that the thread is about to use
};

/// What the strategy of a schedule was asked, and what it answered, packed.
class Step
{
public:
    enum Kind
    {
        eAdded, ///< a thread begins
        eSpins,
        eJump, ///< whether time jumps: 0 or 1
        ePick  ///< who of some threads runs next
    };

    static constexpr unsigned kMostThreads = 20; ///< of a set

    Step(Kind iKind, unsigned iThread, std::uint32_t iReady, unsigned iAnswer)
        : fBits(iReady << 12 | iAnswer << 7 | iThread << 2 | static_cast<unsigned>(iKind))
    {
    }

    Kind kind() const
    {
        return static_cast<Kind>(fBits & 3);
    }

    unsigned thread() const
    {
        return fBits >> 2 & 31;
    }

    unsigned answer() const
    {
        return fBits >> 7 & 31;
    }

    std::uint32_t ready() const
    {
        return fBits >> 12;
    }

    bool operator==(const Step&) const = default;

private:
    std::uint32_t fBits;
};

/// A step of the readable interleaving.
struct Event
{
    static constexpr unsigned kCalls = 10;

    std::uint8_t thread;
    Op op;
    std::uint32_t choice;
    std::uintptr_t object;
    std::uintptr_t calls[kCalls]; ///< innermost first, ended by 0
};

/// The calls of a thread when the schedule failed.
struct StackDump
{
    static constexpr unsigned kCalls = 24;

    std::uint8_t thread;
    char label[160];
    std::uintptr_t calls[kCalls];
};

/// An object that a report names: where it was initialised or first used.
struct NamedObject
{
    std::uintptr_t object;
    std::uintptr_t calls[Event::kCalls];
};

enum class Outcome : std::uint32_t
{
    eNone, ///< the process ended without a result
    ePassed,
    eAssertion,
    eDeadlock,
    eRace,
    eUseAfterFree,
    eBadFree,
    eLockOrder,
    eLockHeld,
    eMisuse, ///< of a lock or a thread
    eCrash,
    eNoEnd, ///< too many steps
    eNoProgress,
    eTooSlow ///< in virtual time
};

const char* outcomeName(Outcome iOutcome);

/// What is counted from the begin of a scenario.
struct ReportCounts
{
    std::uint32_t points;
    std::uint32_t contended; ///< choices between threads
    std::uint32_t threads;
    std::uint32_t faultsSeen[4]; ///< number of allocations, locks, thread starts, file calls
};

/// What an operation costs other processors, in the same units as Changes.
struct CostReport
{
    char operation[60];
    std::uint32_t atomic;
    std::uint32_t locks;
    std::uint32_t sharedLines; ///< that two threads change with the same operation
};

/// Shared by parent and child; zeroed before each schedule.
struct Report
{
    static constexpr unsigned kDecisions = 4096;
    static constexpr unsigned kChoices = 8192;
    static constexpr unsigned kEvents = 65536;
    static constexpr unsigned kStacks = 40;
    static constexpr unsigned kObjects = 64;
    static constexpr unsigned kShared = 2048;
    static constexpr unsigned kSteps = 65536;
    static constexpr unsigned kCosts = 64;

    Outcome outcome;
    ReportCounts counts;
    bool changesFiles;  ///< behind the checkpoint
    bool sharesStreams; ///< the process at the checkpoint has open pipes or sockets
    bool stepsAreCut;   ///< the last ones are missing
    std::uint64_t virtualTime;
    std::uintptr_t watched; ///< the byte of a race
    char message[1024];
    std::uint32_t decisionCount;
    std::uint32_t choiceCount;
    std::uint32_t eventCount;
    std::uint32_t stackCount;
    std::uint32_t objectCount;
    std::uint32_t sharedCount;
    std::uint32_t costCount;
    std::uint32_t stepCount;
    Decision decisions[kDecisions];
    StackDump stacks[kStacks];
    NamedObject objects[kObjects];
    std::uintptr_t shared[kShared]; ///< objects that more than one thread used
    CostReport costs[kCosts];
    char maps[1 << 17];
    Step steps[kSteps];
    Choice choices[kChoices];
    Event events[kEvents];
};
} // namespace schedules

#endif
