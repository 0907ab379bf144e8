// SPDX-License-Identifier: MIT
#include "PTime.h"

#include "PMonotonic.h"

long long PTime::getTickCount() noexcept
{
    const timespec now = PMonotonic::now();
    return static_cast<long long>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

long long PTime::getTickCountDiff(long long iStart, long long iEnd) noexcept
{
    // Unsigned, because a signed difference might overflow.
    return static_cast<long long>(static_cast<unsigned long long>(iEnd) -
                                  static_cast<unsigned long long>(iStart));
}
