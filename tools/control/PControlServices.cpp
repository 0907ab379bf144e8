// SPDX-License-Identifier: MIT
#include "control/PControlServices.h"

#include "helpers/ServiceLookup.h"

int PControlServices::find()
{
    int result = eIxlaOk;
    manager = ixlaService<IConfigManager>(result);
    if (result == eIxlaOk)
    {
        dispatcher = ixlaService<IEventDispatcher>(result);
    }
    if (result == eIxlaOk)
    {
        logger = ixlaService<ILogger>(result);
    }
    return result == eIxlaOk ? manager->loadByID(kIxlaGlobalConfigId, global) : result;
}

PString PControlServices::shared(const PLiteral& iKey) const
{
    PString value;
    // Without the key the text stays empty.
    (void)global->getString(iKey, value);
    return value;
}
