// SPDX-License-Identifier: MIT
// AllocationSweep: runs an operation again and again, with another allocation failing in each run.
#ifndef IXLAL_TESTS_ALLOCATIONSWEEP_H
#define IXLAL_TESTS_ALLOCATIONSWEEP_H

#include "IBase.h"

#include <functional>
#include <string>
#include <vector>

/// One operation and the checks of its effects. Only run lacks memory.
struct AllocationSweep
{
    typedef std::function<void()> Step;

    /// The name in reports: "IConfig::getKeys".
    std::string operation;

    /// Prepares the objects of the operation, before each run.
    Step before = [] {
    };

    /// The operation; 0 is success.
    std::function<int()> run;

    /// Checks that a failed run changed nothing.
    Step unchanged = [] {
    };

    /// For an operation that cannot be repeated after a failure: prepares the run that must
    /// succeed.
    Step recover = [] {
    };

    /// Checks that a successful run did everything.
    Step done = [] {
    };

    /// Undoes a successful run, so that the number of allocated blocks is the same as before.
    Step undo = [] {
    };

    /// The codes that a run without memory may return.
    std::vector<int> codes = {-501};

    /// The reason why a run may succeed without one of its allocations. If empty, it may not.
    std::string spares = {};
};

/// The result of a sweep.
struct AllocationSweepResult
{
    int points = 0; ///< number of allocations of one run
    std::vector<std::string> problems;
};

/// Runs the operation with its first, second, third ... allocation failing, until a run makes fewer
/// allocations: once with only that one failing, once with all later ones failing, too. Each run
/// must return one of the codes, throw nothing and change nothing, or succeed if a reason is given.
/// Afterwards the same operation must succeed, and no block may leak. Stops at the first problem.
AllocationSweepResult trySweep(const AllocationSweep& iSweep);

/// Sets a thread stack size so large that the C library does not cache the stacks of ended threads:
/// each new thread needs memory again.
void keepNoThreadMemory();

/// Sweeps as a check of the current test; prints the number of points.
void sweepAllocations(const AllocationSweep& iSweep);

/// Sweeps the operations incRef and decRef of an object, by their names.
void sweepReferences(IBase& ioObject, const std::string& iIncRef, const std::string& iDecRef);

#endif
