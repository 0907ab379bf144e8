// SPDX-License-Identifier: MIT
// ixlaService: a service by its interface, held.
#ifndef IXLAL_SDK_SERVICELOOKUP_H
#define IXLAL_SDK_SERVICELOOKUP_H

#include "Ixla.h"
#include "PBaseptr.h"
#include "PGuarded.h"

class IConfigManager;
class IEventDispatcher;
class ILogger;

/// The interface ID under which ixlaService looks for a TService. Specialise it beside an interface
/// of your own, and its users need not name the ID either.
template <class TService>
struct IxlaServiceId;

/// The configuration manager.
template <>
struct IxlaServiceId<IConfigManager>
{
    /// Its interface ID.
    static const wchar_t* get() noexcept
    {
        return kIxlaConfigManagerId;
    }
};

/// The event dispatcher.
template <>
struct IxlaServiceId<IEventDispatcher>
{
    /// Its interface ID.
    static const wchar_t* get() noexcept
    {
        return kIxlaEventDispatcherId;
    }
};

/// The loggers.
template <>
struct IxlaServiceId<ILogger>
{
    /// Its interface ID.
    static const wchar_t* get() noexcept
    {
        return kIxlaLoggerId;
    }
};

/// Asks the core for the service behind iInterfaceId, which must stand for the interface TService,
/// and holds it. The holder is empty when there is none; oResult then says why: the code of
/// ixlaGetInstance, -2002 when the plugin handed out nothing, or -501. It is 0 otherwise.
///
/// The core lends the pointer, and until the holder has counted its reference nobody else need be
/// holding the object: a thread must not ask while another one may stop the core. Whoever holds the
/// service already may ask at any time. A plugin made with PPlugin holds the three services of the
/// core from its init to its end, so its threads may ask for those until it goes; what other
/// plugins offer is best looked up in onInit and kept. [any thread]
template <class TService>
PBaseptr<TService> ixlaService(const PLiteral& iInterfaceId, int& oResult)
{
    PBaseptr<TService> service;
    oResult = ixlaGuarded(
        [&]() -> int
        {
            IBase* instance = nullptr;
            const int result = ixlaGetInstance(iInterfaceId, instance);
            if (result != eIxlaOk)
            {
                return result;
            }
            service = static_cast<TService*>(instance);
            return service ? eIxlaOk : eIxlaNoInstance;
        });
    return service;
}

/// The same for whoever does not ask why there is none.
template <class TService>
PBaseptr<TService> ixlaService(const PLiteral& iInterfaceId)
{
    int ignored = eIxlaOk;
    return ixlaService<TService>(iInterfaceId, ignored);
}

/// The same by the ID that belongs to the interface: ixlaService<IConfigManager>().
template <class TService>
PBaseptr<TService> ixlaService(int& oResult)
{
    return ixlaService<TService>(IxlaServiceId<TService>::get(), oResult);
}

template <class TService>
PBaseptr<TService> ixlaService()
{
    return ixlaService<TService>(IxlaServiceId<TService>::get());
}

#endif
