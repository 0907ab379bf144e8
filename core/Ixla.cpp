// SPDX-License-Identifier: MIT
#include "Ixla.h"

#include "PGuarded.h"
#include "core/PCoreCall.h"
#include "core/PHeldService.h"
#include "portinglayer/PCancelGuard.h"

namespace
{
int _getInstance(const PCoreCall& iCall, const PLiteral& iInterfaceId, IBase*& oInstance)
{
    PCore* const core = iCall.core();
    if (!core)
    {
        return eIxlaCoreNotStarted;
    }
    return ixlaGuarded([&] { return core->ixlaGetInstance(iInterfaceId, oInstance); });
}
} // namespace

int ixlaStart(const PString* iArgs, unsigned int iCount)
{
    return PCore::ixlaStart(iArgs, iCount);
}

int ixlaStop()
{
    return PCore::ixlaStop();
}

[[gnu::flatten]] int ixlaGetInstance(const PLiteral& iInterfaceId, IBase*& oInstance)
{
    const PCoreCall call;
    return _getInstance(call, iInterfaceId, oInstance);
}

int ixlaHoldInstance(const PLiteral& iInterfaceId, IBase*& oInstance)
{
    const PCoreCall call;
    IBase* instance = nullptr;
    const int result = _getInstance(call, iInterfaceId, instance);
    if (result != eIxlaOk)
    {
        return result;
    }
    if (!instance)
    {
        return eIxlaNoInstance;
    }
    instance->incRef();
    oInstance = instance;
    return eIxlaOk;
}

bool ixlaIsInterfaceAvailable(const PLiteral& iInterfaceId)
{
    const PCoreCall call;
    PCore* const core = call.core();
    return core && core->ixlaIsInterfaceAvailable(iInterfaceId);
}

int ixlaUnloadPlugin(IPlugin* iPlugin)
{
    // The thread is not cancelled in the destructor of the plugin.
    const PCancelGuard guard;
    const PCoreCall call;
    PCore* const core = call.core();
    if (!core)
    {
        return eIxlaCoreNotStarted;
    }
    return ixlaGuarded([&] { return core->ixlaUnloadPlugin(iPlugin); });
}
