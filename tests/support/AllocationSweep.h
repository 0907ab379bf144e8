// SPDX-License-Identifier: MIT
// AllocationSweep: runs an operation with every one of its allocations failing in turn.
#ifndef IXLAL_TESTS_ALLOCATIONSWEEP_H
#define IXLAL_TESTS_ALLOCATIONSWEEP_H

#include <functional>
#include <string>
#include <vector>

/// One operation, and how to tell what it left behind. All but run have memory.
struct AllocationSweep
{
    typedef std::function<void()> Step;

    /// As it is reported: "IConfig::getKeys".
    std::string operation;

    /// Makes what the operation works on, before each run.
    Step before = [] {
    };

    /// The operation; 0 is success.
    std::function<int()> run;

    /// Checks that a failed run changed nothing.
    Step unchanged = [] {
    };

    /// For an operation whose failure is final: makes ready for the run that must succeed.
    Step recover = [] {
    };

    /// Checks that a successful run did everything.
    Step done = [] {
    };

    /// Takes a successful run back, so that as many blocks are allocated as before it.
    Step undo = [] {
    };

    /// What a run without memory may return.
    std::vector<int> codes = {-501};

    /// Why a run may succeed without one of its allocations; without a reason it may not.
    std::string spares = {};
};

/// What a sweep found out.
struct AllocationSweepResult
{
    int points = 0; ///< the allocations of one run
    std::vector<std::string> problems;
};

/// Runs the operation with its first, second, third ... allocation failing until a run needs no
/// more of them: once with just that one failing, once with all after it failing too. Each run must
/// return one of the codes, let no exception out and change nothing, or succeed if there is a
/// reason why it may; the same operation must then succeed, and no block may be left over. Stops
/// at the first problem.
AllocationSweepResult trySweep(const AllocationSweep& iSweep);

/// Makes the threads of the process so large that the C library keeps nothing of one that ended:
/// the next one needs memory again.
void keepNoThreadMemory();

/// The same as a check of the current test; prints how many points were swept.
void sweepAllocations(const AllocationSweep& iSweep);

#endif
