// SPDX-License-Identifier: MIT
// What the check of the sizes calls in the library that knows the core.
#ifndef IXLAL_BENCHMARKS_SIZEPROBE_H
#define IXLAL_BENCHMARKS_SIZEPROBE_H

/// Restarts the core with so many interfaces, with no plugin for 0. Returns the bytes that the
/// running core has allocated.
typedef long long SizeProbe(int iInterfaces);
constexpr char kSizeProbe[] = "benchSizeProbe";

#endif
