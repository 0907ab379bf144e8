// PService: how the examples find services of the core and of one another.
#ifndef IXLAL_EXAMPLES_PSERVICE_H
#define IXLAL_EXAMPLES_PSERVICE_H

#include "Ixla.h"
#include "PBaseptr.h"

/// Asks the core for the service iId and keeps it in oService. Returns 0, or the code of the core
/// with oService unchanged. TService must be the interface that the ID stands for.
template <class TService>
int findService(const wchar_t* iId, PBaseptr<TService>& oService)
{
    IBase* instance = nullptr;
    const int result = ixlaGetInstance(iId, instance);
    if (result != eIxlaOk)
    {
        return result;
    }
    if (!instance)
    {
        return eIxlaNoInstance;
    }
    oService = static_cast<TService*>(instance);
    return eIxlaOk;
}

#endif
