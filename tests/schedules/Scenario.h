// SPDX-License-Identifier: MIT
// What a scenario uses: its registration, and the assertions that every schedule must fulfil.
#ifndef IXLAL_SCHEDULES_SCENARIO_H
#define IXLAL_SCHEDULES_SCENARIO_H

#include <cstdint>

#define SCHEDULES_API __attribute__((visibility("default")))

namespace schedules
{
/// What a scenario allows.
struct Allowed
{
    /// Virtual milliseconds that all threads together may wait while none can run. A notification
    /// that is missing shows as a wait of this length.
    std::uint32_t milliseconds = 10000;

    /// Whether time may also pass while threads can run, so that any wait may time out.
    bool jumps = true;

    /// Whether every schedule with few preemptions can be tried.
    bool small = false;

    /// Whether a call may fail: then only crashes, races, deadlocks and the like are errors.
    bool faults = false;

    /// The outcome of a scenario that is wrong on purpose, "race" for instance: the checks of the
    /// runtime have to find it. Such scenarios only run in the self-test.
    const char* fails = nullptr;

    /// Whether it only counts what operations cost, and has a single schedule.
    bool costs = false;
};

/// Ends the schedule as failed unless iCondition is true. iText says what was expected.
SCHEDULES_API void require(bool iCondition, const char* iText);

/// As above, with the two numbers in the report.
SCHEDULES_API void requireEqual(long long iExpected, long long iActual, const char* iText);

/// Fails the schedule when the calling thread holds a lock. For code of plugins and listeners.
SCHEDULES_API void requireNoLocks(const char* iWhere);

/// Whether this schedule makes a call fail.
SCHEDULES_API bool hasFault();

/// While it exists, no call of its thread fails. For the scenario's own code.
class SCHEDULES_API Reliable
{
public:
    Reliable();
    ~Reliable();

    Reliable(const Reliable&) = delete;
    Reliable& operator=(const Reliable&) = delete;
};

/// Record what the calling thread changes in memory, as the thread iThread of two, 0 and 1, which
/// do the same.
SCHEDULES_API void recordChanges(unsigned iThread);
SCHEDULES_API void stopRecording();

/// Adds what both have recorded to the report, for the option --costs.
SCHEDULES_API void reportCosts(const char* iOperation);

/// Virtual time since the schedule began.
SCHEDULES_API std::uint64_t nanoseconds();

/// A directory for the files of this schedule. Its content is that of the last schedule of the same
/// process.
SCHEDULES_API const char* directory();

/// Registers a scenario: a function that runs in a new process for each schedule, as its first
/// thread.
class SCHEDULES_API Scenario
{
public:
    Scenario(const char* iName, void (*iRun)(), const Allowed& iAllowed);

    const char* name() const
    {
        return fName;
    }
    const Allowed& allowed() const
    {
        return fAllowed;
    }
    void run() const
    {
        fRun();
    }
    const Scenario* next() const
    {
        return fNext;
    }

    static const Scenario* first();

private:
    const char* fName;
    void (*fRun)();
    Allowed fAllowed;
    const Scenario* fNext;
};
} // namespace schedules

/// SCENARIO(Name, .small = true) { ... } defines and registers a scenario.
#define SCENARIO(scenarioName, ...)                                                                \
    static void _run##scenarioName();                                                              \
    static const schedules::Scenario sScenario##scenarioName(#scenarioName, _run##scenarioName,    \
                                                             schedules::Allowed{__VA_ARGS__});     \
    static void _run##scenarioName()

#endif
