// SPDX-License-Identifier: MIT
#include "core/PCore.h"

PCore::PCore() noexcept = default;

PCore::~PCore()
{
    cleanup();
    fParts.fLock.close(fParts.fLog.logger());
}

bool PCore::end() noexcept
{
    fParts.fNotifier.partFromNotifier();
    if (fParts.fDrain.letCallsLeave(PCoreLifetime::getGate()))
    {
        return true;
    }
    // The calls inside leave through their own gate; the next core gets a new one.
    fParts.fDrain.keep(*this, PCoreLifetime::takeGate());
    return false;
}
