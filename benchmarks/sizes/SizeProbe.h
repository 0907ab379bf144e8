// SPDX-License-Identifier: MIT
// The function that the check of the sizes calls in the library that is linked with the core.
#ifndef IXLAL_BENCHMARKS_SIZEPROBE_H
#define IXLAL_BENCHMARKS_SIZEPROBE_H

/// What a core has many of.
enum ESized
{
    eInterfaces, ///< of one plugin; an ID has 28 characters
    eKeys,       ///< of a loaded configuration; a key has 11 characters, its value 9
    eListeners,  ///< of one topic, without the objects themselves
    ePlugins     ///< with one interface each, without what the loader allocates
};

/// Restarts the core with iCount of them. Returns the bytes that the running core has allocated.
typedef long long SizeProbe(ESized iWhat, int iCount);
/// The name of the function in the library.
constexpr char kSizeProbe[] = "benchSizeProbe";

#endif
