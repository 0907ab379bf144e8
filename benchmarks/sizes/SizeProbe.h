// SPDX-License-Identifier: MIT
// The function that the check of the sizes calls in the library that is linked with the core.
#ifndef IXLAL_BENCHMARKS_SIZEPROBE_H
#define IXLAL_BENCHMARKS_SIZEPROBE_H

/// Restarts the core with a plugin of iInterfaces interfaces, or without a plugin for 0. Returns
/// the bytes that the running core has allocated.
typedef long long SizeProbe(int iInterfaces);
/// The name of the function in the library.
constexpr char kSizeProbe[] = "benchSizeProbe";

#endif
