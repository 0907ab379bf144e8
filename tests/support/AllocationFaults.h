// SPDX-License-Identifier: MIT
// AllocationFaults: makes the allocations of the calling thread fail on demand.
#ifndef IXLAL_TESTS_ALLOCATIONFAULTS_H
#define IXLAL_TESTS_ALLOCATIONFAULTS_H

/// The binary that links these objects replaces operator new for the whole process. It also
/// replaces malloc and the related functions, except with a sanitizer or coverage. Only the
/// allocations of the thread that armed it fail or are counted.
struct AllocationFaults
{
    /// Which allocations fail.
    enum EReach
    {
        eObjects, ///< those of operator new
        eAll      ///< also those of the C library and the loader on this thread
    };

    /// Fails all allocations of this thread after the next iSkip.
    static void failAfter(int iSkip, EReach iReach = eObjects);

    /// Fails one allocation of this thread, after the next iSkip.
    static void failOnceAfter(int iSkip, EReach iReach = eObjects);

    static void disarm();

    /// Whether an allocation failed since arming.
    static bool struck();

    /// The number of allocations by operator new of this thread since counting started.
    static void startCounting();
    static int counted();

    /// The number of arrays that this thread has freed by operator delete[] so far.
    static int arraysFreed();

    /// Whether eAll includes more than eObjects. It does not with a sanitizer, whose own malloc
    /// must not be replaced, nor with coverage, which aborts without memory.
    static bool reachesMalloc();

    /// The number of blocks that all threads have allocated and not freed; with a sanitizer only
    /// those of operator new.
    static long long live();
};

#endif
