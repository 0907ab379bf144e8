// SPDX-License-Identifier: MIT
// PConfigResult: result codes of the porting layer as the configuration passes them on.
#ifndef IXLAL_PCONFIGRESULT_H
#define IXLAL_PCONFIGRESULT_H

#include "Ixla.h"

#include <cerrno>

/// The porting layer's code as it stands, except that lack of memory has one code everywhere.
inline int configResult(int iPortResult) noexcept
{
    return iPortResult == -ENOMEM ? static_cast<int>(eIxlaNoMemory) : iPortResult;
}

#endif
