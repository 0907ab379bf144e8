// SPDX-License-Identifier: MIT
// SharedLine: what it costs when two processors change one cache line in turns.
#ifndef IXLAL_BENCHMARKS_SHAREDLINE_H
#define IXLAL_BENCHMARKS_SHAREDLINE_H

namespace SharedLine
{
/// The nanoseconds of an atomic change, from samples in which both threads ran all the time; 0 when
/// there was none.
double nanoseconds();
} // namespace SharedLine

#endif
