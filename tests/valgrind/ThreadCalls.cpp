// SPDX-License-Identifier: MIT
// Preloaded into the 32-bit tests that run under DRD. DRD knows the functions of glibc with a time
// of 32 bits only, but the product calls those with a time of 64 bits. Without this library DRD
// misses that a timed wait releases its mutex, and takes the mutex for locked by two threads.
#include <pthread.h>

#include <climits>
#include <cstdint>
#include <cstdlib>

namespace
{
/// The timespec of the functions whose names end with 64.
struct Time64
{
    std::int64_t fSeconds;
    std::int32_t fNanoseconds;
    std::int32_t fPadding;
};

/// A limit beyond the range becomes the largest one; no test waits for it.
timespec _narrow(const Time64& iTime)
{
    timespec narrow{};
    narrow.tv_sec = iTime.fSeconds > LONG_MAX ? LONG_MAX : static_cast<long>(iTime.fSeconds);
    narrow.tv_nsec = iTime.fNanoseconds;
    return narrow;
}

/// Programs that the test starts run without this library.
__attribute__((constructor)) void _clearPreload()
{
    unsetenv("LD_PRELOAD");
}
} // namespace

extern "C" int __pthread_cond_timedwait64(pthread_cond_t* ioCondition, pthread_mutex_t* ioMutex,
                                          const Time64* iLimit)
{
    const timespec limit = _narrow(*iLimit);
    return pthread_cond_timedwait(ioCondition, ioMutex, &limit);
}

/// DRD does not know it. The test's own time limit replaces its limit.
extern "C" int pthread_timedjoin_np(pthread_t iThread, void** oResult, const timespec*)
{
    return pthread_join(iThread, oResult);
}
