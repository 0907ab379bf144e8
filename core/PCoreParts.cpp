// SPDX-License-Identifier: MIT
#include "core/PCoreParts.h"

PCoreParts::PCoreParts() noexcept
    : fRegistry(fLog, fLock),
      fInit(fLog, fLock, fRegistry),
      fLookup(fLog, fRegistry, fInit),
      fLoader(fLog, fRegistry),
      fAutostart(fLog, fRegistry, fInit),
      fGlobalConfig(fLog, fServices),
      fStart(*this),
      fNotifier(fLog, fLock, fServices),
      fDrain(fLog, fServices),
      fStop(*this)
{
}

void PCoreParts::cleanup()
{
    fServices.clear();
    // An abandoned notifier may still run code of any library.
    fRegistry.release(fNotifier.isAbandoned());
}
