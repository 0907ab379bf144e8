// SPDX-License-Identifier: MIT
#include "core/PCoreParts.h"

PCoreParts::PCoreParts() noexcept
    : fRegistry(fLog, fLock), fInit(fLog, fLock, fRegistry), fLookup(fLog, fRegistry, fInit)
{
}
