#include "Ixla.h"

#include "PGuarded.h"
#include "core/PCore.h"

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
    PCore* const core = PCore::getCore();
    if (!core)
    {
        return eIxlaCoreNotStarted;
    }
    return ixlaGuarded([&] { return core->ixlaGetInstance(iInterfaceId, oInstance); });
}

bool ixlaIsInterfaceAvailable(const PLiteral& iInterfaceId)
{
    PCore* const core = PCore::getCore();
    return core && core->ixlaIsInterfaceAvailable(iInterfaceId);
}

int ixlaUnloadPlugin(IPlugin* iPlugin)
{
    PCore* const core = PCore::getCore();
    if (!core)
    {
        return eIxlaCoreNotStarted;
    }
    return ixlaGuarded([&] { return core->ixlaUnloadPlugin(iPlugin); });
}
