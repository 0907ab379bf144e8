// SPDX-License-Identifier: MIT
#include "soak/Holdings.h"

#include "support/ThreadCount.h"

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// Debian's compiler has the function but no header for it.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#define IXLAL_SANITIZED 1
#else
#define IXLAL_SANITIZED 0
#endif

namespace
{
constexpr long long kKilobyte = 1024;

long long _entries(const char* iDir)
{
    const std::filesystem::directory_iterator entries(iDir);
    return std::distance(begin(entries), end(entries));
}

long long _lines(const char* iFile)
{
    std::ifstream file(iFile);
    return std::count(std::istreambuf_iterator<char>(file), {}, '\n');
}

long long _allocated()
{
#if IXLAL_SANITIZED
    return static_cast<long long>(__sanitizer_get_current_allocated_bytes());
#else
    const struct mallinfo2 info = mallinfo2();
    return static_cast<long long>(info.uordblks) + static_cast<long long>(info.hblkhd);
#endif
}

std::string _growth(const char* iWhat, long long iBefore, long long iNow, long long iNoise)
{
    if (iNow - iBefore <= iNoise)
    {
        return "";
    }
    return std::string(iWhat) + " grew from " + std::to_string(iBefore) + " to " +
           std::to_string(iNow) + "\n";
}
} // namespace

Holdings Holdings::now()
{
    const long long page = sysconf(_SC_PAGESIZE);
    std::ifstream statm("/proc/self/statm");
    long long size = 0;
    Holdings holdings;
    long long shared = 0;
    statm >> size >> holdings.resident >> shared;
    holdings.owned = (holdings.resident - shared) * page;
    holdings.resident *= page;
    holdings.allocated = _allocated();
    holdings.handles = _entries("/proc/self/fd");
    holdings.threads = countThreads();
    holdings.mappings = _lines("/proc/self/maps");
    return holdings;
}

std::string Holdings::growthSince(const Holdings& iBefore) const
{
    std::string growth = _growth("handles", iBefore.handles, handles, 0);
    growth += _growth("threads", iBefore.threads, threads, 0);
    // Counting allocates some, and so does every new arena of malloc.
    growth += _growth("allocated memory", iBefore.allocated, allocated, 32 * kKilobyte);
    if (!IXLAL_SANITIZED)
    {
        // Sanitizers keep freed memory for a while, and records of allocations.
        growth += _growth("resident memory", iBefore.resident, resident, 2048 * kKilobyte);
        growth += _growth("private memory", iBefore.owned, owned, 2048 * kKilobyte);
        growth += _growth("mappings", iBefore.mappings, mappings, 8);
    }
    return growth;
}
