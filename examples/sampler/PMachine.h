// SPDX-License-Identifier: MIT
// PMachine: load and memory of the machine, read from /proc.
#ifndef IXLAL_EXAMPLES_PMACHINE_H
#define IXLAL_EXAMPLES_PMACHINE_H

/// Operations return true with the value, or false with the argument unchanged.
class PMachine
{
public:
    /// The load of the last minute, in hundredths.
    static bool readLoad(int& oHundredths);

    /// The memory in use, in percent.
    static bool readMemory(int& oPercent);
};

#endif
