// SPDX-License-Identifier: MIT
// Allocations: how often and how much the program has allocated.
#ifndef IXLAL_BENCHMARKS_ALLOCATIONS_H
#define IXLAL_BENCHMARKS_ALLOCATIONS_H

#include <cstddef>

/// Counts what every operator new of the process hands out, those of the libraries included.
/// Memory that C functions take for themselves is not seen.
namespace Allocations
{
/// Allocations of the calling thread so far.
unsigned long count() noexcept;

/// Bytes that the calling thread has allocated and not given back, with the allocator's own share.
/// Below zero for a thread that frees what others allocated.
long long held() noexcept;
} // namespace Allocations

#endif
