// SPDX-License-Identifier: MIT
// Holdings: what a process holds that could leak.
#ifndef IXLAL_TESTS_HOLDINGS_H
#define IXLAL_TESTS_HOLDINGS_H

#include <string>

struct Holdings
{
    /// As the process is now. Only comparable between moments at which it does nothing else.
    static Holdings now();

    /// What grew from iBefore to this by more than noise, one line each; empty when nothing did.
    std::string growthSince(const Holdings& iBefore) const;

    long long resident = 0;  ///< bytes of memory
    long long owned = 0;     ///< resident bytes that no other process shares
    long long allocated = 0; ///< bytes that malloc gave and did not get back
    long long handles = 0;   ///< open descriptors
    long long threads = 0;
    long long mappings = 0;
};

#endif
