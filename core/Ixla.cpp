#include "Ixla.h"

#include "PGuarded.h"
#include "core/PCoreCall.h"

int ixlaStart(const PString* iArgs, unsigned int iCount)
{
    return PCore::ixlaStart(iArgs, iCount);
}

int ixlaStop()
{
    return PCore::ixlaStop();
}

int ixlaGetInstance(const PLiteral& iInterfaceId, IBase*& oInstance)
{
    const PCoreCall call;
    PCore* const core = call.core();
    if (!core)
    {
        return eIxlaCoreNotStarted;
    }
    return ixlaGuarded([&] { return core->ixlaGetInstance(iInterfaceId, oInstance); });
}

bool ixlaIsInterfaceAvailable(const PLiteral& iInterfaceId)
{
    const PCoreCall call;
    PCore* const core = call.core();
    return core && core->ixlaIsInterfaceAvailable(iInterfaceId);
}

int ixlaUnloadPlugin(IPlugin* iPlugin)
{
    const PCoreCall call;
    PCore* const core = call.core();
    if (!core)
    {
        return eIxlaCoreNotStarted;
    }
    return ixlaGuarded([&] { return core->ixlaUnloadPlugin(iPlugin); });
}
