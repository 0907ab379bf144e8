// AllocationFaults: makes the allocations of the calling thread fail on demand.
#ifndef IXLAL_TESTS_ALLOCATIONFAULTS_H
#define IXLAL_TESTS_ALLOCATIONFAULTS_H

/// The binary that links these objects replaces operator new for the whole process. Only the
/// allocations of the thread that armed it fail or are counted.
struct AllocationFaults
{
    /// Lets iSkip allocations of this thread through and fails all after them.
    static void failAfter(int iSkip);

    /// Fails just the one allocation after iSkip allocations of this thread.
    static void failOnceAfter(int iSkip);

    static void disarm();

    /// Whether an allocation failed since arming.
    static bool struck();

    /// Allocations of this thread since counting began.
    static void startCounting();
    static int counted();
};

#endif
