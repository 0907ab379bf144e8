// SPDX-License-Identifier: MIT
// AllocationFaults: makes the allocations of the calling thread fail on demand.
#ifndef IXLAL_TESTS_ALLOCATIONFAULTS_H
#define IXLAL_TESTS_ALLOCATIONFAULTS_H

/// The binary that links these objects replaces operator new for the whole process, and malloc and
/// its kin too unless a sanitizer or the counting of lines is built in. Only the allocations of the
/// thread that armed it fail or are counted.
struct AllocationFaults
{
    /// Which allocations are meant.
    enum EReach
    {
        eObjects, ///< those of operator new
        eAll      ///< also those that the C library and the loader make on the thread's behalf
    };

    /// Lets iSkip allocations of this thread through and fails all after them.
    static void failAfter(int iSkip, EReach iReach = eObjects);

    /// Fails just the one allocation after iSkip allocations of this thread.
    static void failOnceAfter(int iSkip, EReach iReach = eObjects);

    static void disarm();

    /// Whether an allocation failed since arming.
    static bool struck();

    /// Allocations by operator new of this thread since counting began.
    static void startCounting();
    static int counted();

    /// Arrays that this thread has freed by operator delete[] so far.
    static int arraysFreed();

    /// Whether eAll reaches further than eObjects. A sanitizer has a malloc of its own, which a
    /// second one in the binary would blind; the counting of lines dies without memory.
    static bool reachesMalloc();

    /// The blocks that all threads together have allocated and not freed; with a sanitizer only
    /// those of operator new.
    static long long live();
};

#endif
