// SPDX-License-Identifier: MIT
// PProcess: figures of processes and of the machine.
#ifndef IXLAL_PPROCESS_H
#define IXLAL_PPROCESS_H

#include "PExport.h"

/// Operations return 0 or a negated errno and leave the out-argument unchanged on failure. None
/// throws or allocates. [any thread]
class IXLA_EXPORT PProcess
{
public:
    /// The ID of this process.
    static unsigned int getCurrentPID() noexcept;

    /// The resident memory of a process, in bytes.
    static int getMemoryUsage(unsigned int iPid, unsigned long long& oBytes) noexcept;

    /// The unused memory of the machine, in bytes.
    static int getFreeMemory(unsigned long long& oBytes) noexcept;
};

#endif
