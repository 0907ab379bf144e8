// SPDX-License-Identifier: MIT
/// @file
/// Facts about this process, from /proc.
#ifndef IXLAL_TOOLS_PROCESSFACTS_H
#define IXLAL_TOOLS_PROCESSFACTS_H

#include <string>
#include <vector>

/// A thread of this process.
struct ThreadFacts
{
    long long number = 0;
    std::string name;
    std::string state; ///< one letter, as ps shows it
};

/// Bytes; -1 for a figure that the kernel does not give.
struct MemoryFacts
{
    long long resident = -1;
    long long peak = -1; ///< of the resident memory
    long long address = -1;
    long long privateBytes = -1;
};

/// The threads, by number.
std::vector<ThreadFacts> threadsOfProcess();

MemoryFacts memoryOfProcess();

/// Milliseconds since the process was started.
long long uptimeOfProcess();

/// The command line.
std::vector<std::string> argumentsOfProcess();

#endif
