// SPDX-License-Identifier: MIT
// Holdings: the resources of a process that could leak.
#ifndef IXLAL_TESTS_HOLDINGS_H
#define IXLAL_TESTS_HOLDINGS_H

#include <string>

struct Holdings
{
    /// The present resources. Comparable only between moments when the process is idle.
    static Holdings now();

    /// The resources that have grown since iBefore by more than noise, one per line.
    std::string growthSince(const Holdings& iBefore) const;

    long long resident = 0;  ///< bytes of memory
    long long owned = 0;     ///< resident bytes that are not shared with other processes
    long long allocated = 0; ///< bytes allocated by malloc and not freed
    long long handles = 0;   ///< open descriptors
    long long threads = 0;
    long long mappings = 0;
};

#endif
