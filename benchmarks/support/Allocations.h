// SPDX-License-Identifier: MIT
// Allocations: counts the allocations of the program.
#ifndef IXLAL_BENCHMARKS_ALLOCATIONS_H
#define IXLAL_BENCHMARKS_ALLOCATIONS_H

#include <cstddef>

/// Counts the memory of every operator new in the process, including the libraries. Memory that C
/// functions allocate is not counted.
namespace Allocations
{
/// The number of allocations of the calling thread so far.
unsigned long count() noexcept;

/// Bytes that the calling thread has allocated and not freed, including the allocator's overhead.
/// Negative for a thread that frees memory of other threads.
long long held() noexcept;
} // namespace Allocations

#endif
