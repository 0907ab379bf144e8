// SPDX-License-Identifier: MIT
// PForkCheck: recognises a forked child of the process that created an object.
#ifndef IXLAL_SDK_PFORKCHECK_H
#define IXLAL_SDK_PFORKCHECK_H

#include "portinglayer/PProcess.h"

/// A member of an object with locks and threads. In a child a thread that holds one of the locks
/// may not exist. [any thread]
class PForkCheck
{
public:
    PForkCheck() noexcept : fProcess(PProcess::getCurrentPID())
    {
    }

    PForkCheck(const PForkCheck&) = delete;
    PForkCheck& operator=(const PForkCheck&) = delete;

    /// Whether this is a child of the process that created the object.
    bool isChild() const noexcept
    {
        return PProcess::getCurrentPID() != fProcess;
    }

private:
    const unsigned int fProcess;
};

#endif
