// SPDX-License-Identifier: MIT
// PConfigResult: converts result codes of the porting layer to those of the configuration.
#ifndef IXLAL_PCONFIGRESULT_H
#define IXLAL_PCONFIGRESULT_H

#include "Ixla.h"

#include <cerrno>

/// The porting layer's code, except for lack of memory, which becomes -501.
inline int configResult(int iPortResult) noexcept
{
    return iPortResult == -ENOMEM ? static_cast<int>(eIxlaNoMemory) : iPortResult;
}

#endif
